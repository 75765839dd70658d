// Helpers of the network tests: scratch folders with the log inside, a
// loopback server that plays scripted bytes, and a real nginx.
#pragma once
#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <deque>
#include <fstream>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>

#include "files/log.h"
#include "net/clock.h"
#include "net/http.h"

namespace net_test {

inline std::string read_file(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream ss;
  ss << in.rdbuf();
  return ss.str();
}

inline void write_file(const std::string& path, const std::string& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << bytes;
}

inline bool exists(const std::string& path) { return access(path.c_str(), F_OK) == 0; }

// Deterministic, incompressible-looking bytes.
inline std::string pattern_bytes(size_t n, unsigned seed) {
  std::string s(n, '\0');
  unsigned x = seed * 2654435761u + 1;
  for (size_t i = 0; i < n; ++i) {
    x ^= x << 13;
    x ^= x >> 17;
    x ^= x << 5;
    s[i] = static_cast<char>(x);
  }
  return s;
}

// A folder under /tmp, removed with everything in it; xer writes into its Log.txt.
struct scratch {
  std::string path;
  scratch() {
    char tmpl[] = "/tmp/zephyra_net_XXXXXX";
    path = mkdtemp(tmpl);
    xer.clear();
    if (xer.is_open()) xer.close();
    xer.clear();
    xer.open(file("Log.txt"), std::ios::out | std::ios::trunc);
  }
  ~scratch() {
    xer.close();
    xer.clear();
    std::system(("rm -rf '" + path + "'").c_str());
  }
  std::string file(const std::string& name) const { return path + "/" + name; }
  std::string log() {
    xer.flush();
    return read_file(file("Log.txt"));
  }
};

// Calls step until it returns true, for at most ms milliseconds.
template <class F>
bool poll_until(F step, int ms = 5000) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
  while (!step()) {
    if (std::chrono::steady_clock::now() > end) return false;
    usleep(500);
  }
  return true;
}

// Polls a slot until it reports an end; 0 when it was still under way at the deadline.
inline int fetch(int slot, const std::string& server, const std::string& path,
                 const std::string& file, int ms = 10000) {
  int r = 0;
  poll_until([&] { return (r = http.net_check(slot, server, path, file)) != 0; }, ms);
  return r;
}

// Frees a slot whose transfer would never end by itself.
inline void drop_slot(int slot) {
  delete http.down_objects[slot];
  http.down_objects[slot] = nullptr;
}

// One loopback connection served by a thread: it accepts, records the
// request head, then plays the queued steps in order.
class script_server {
 public:
  script_server() {
    lfd_ = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    bind(lfd_, reinterpret_cast<sockaddr*>(&a), sizeof a);
    listen(lfd_, 8);
    socklen_t len = sizeof a;
    getsockname(lfd_, reinterpret_cast<sockaddr*>(&a), &len);
    port = ntohs(a.sin_port);
    worker_ = std::thread([this] { run(); });
  }
  ~script_server() {
    {
      std::lock_guard<std::mutex> g(m_);
      stop_ = true;
      // Unblocks a send into a client that no longer reads.
      if (cfd_ >= 0) shutdown(cfd_, SHUT_RDWR);
    }
    cv_.notify_all();
    worker_.join();
    if (cfd_ >= 0) close(cfd_);
    close(lfd_);
  }
  script_server(const script_server&) = delete;
  script_server& operator=(const script_server&) = delete;

  unsigned short port = 0;

  // Sends bytes in one write, or one byte at a time with a pause between.
  void send(const std::string& bytes, int pause_ms = 0) { push({step::data, bytes, pause_ms}); }
  // Ends the connection after what is queued: an orderly close, or a reset.
  void hang_up(bool reset = false) { push({reset ? step::reset : step::close, "", 0}); }

  // Waits until every queued step has been played.
  bool wait_played(int ms = 5000) {
    std::unique_lock<std::mutex> g(m_);
    return cv_.wait_for(g, std::chrono::milliseconds(ms), [&] { return steps_.empty() && !busy_; });
  }
  // The request head as received, once its blank line has arrived.
  std::string request(int ms = 5000) {
    std::unique_lock<std::mutex> g(m_);
    cv_.wait_for(g, std::chrono::milliseconds(ms), [&] { return request_done_; });
    return request_;
  }
  bool has_request() {
    std::lock_guard<std::mutex> g(m_);
    return request_done_;
  }
  bool accepted() {
    std::lock_guard<std::mutex> g(m_);
    return cfd_ >= 0;
  }

 private:
  struct step {
    enum kind_t { data, close, reset } kind;
    std::string bytes;
    int pause_ms;
  };

  void push(step s) {
    {
      std::lock_guard<std::mutex> g(m_);
      steps_.push_back(std::move(s));
    }
    cv_.notify_all();
  }
  bool stopping() {
    std::lock_guard<std::mutex> g(m_);
    return stop_;
  }
  bool wait_readable(int fd) {
    pollfd p{fd, POLLIN, 0};
    return poll(&p, 1, 20) > 0;
  }

  void run() {
    int fd = -1;
    while (!stopping()) {
      if (wait_readable(lfd_)) {
        fd = accept(lfd_, nullptr, nullptr);
        break;
      }
    }
    if (fd < 0) return;
    {
      std::lock_guard<std::mutex> g(m_);
      cfd_ = fd;
    }
    std::string got;
    while (!stopping() && got.find("\r\n\r\n") == std::string::npos) {
      if (!wait_readable(fd)) continue;
      char buf[4096];
      const ssize_t n = recv(fd, buf, sizeof buf, 0);
      if (n <= 0) break;
      got.append(buf, static_cast<size_t>(n));
    }
    {
      std::lock_guard<std::mutex> g(m_);
      request_ = got;
      request_done_ = true;
    }
    cv_.notify_all();

    for (;;) {
      step s;
      {
        std::unique_lock<std::mutex> g(m_);
        cv_.wait(g, [&] { return stop_ || !steps_.empty(); });
        if (steps_.empty()) return;
        s = steps_.front();
        steps_.pop_front();
        busy_ = true;
      }
      play(fd, s);
      {
        std::lock_guard<std::mutex> g(m_);
        busy_ = false;
      }
      cv_.notify_all();
    }
  }

  void play(int fd, const step& s) {
    if (s.kind == step::data) {
      if (s.pause_ms == 0) {
        size_t off = 0;
        while (off < s.bytes.size()) {
          const ssize_t n = ::send(fd, s.bytes.data() + off, s.bytes.size() - off, MSG_NOSIGNAL);
          if (n <= 0) return;
          off += static_cast<size_t>(n);
        }
      } else {
        for (char c : s.bytes) {
          if (::send(fd, &c, 1, MSG_NOSIGNAL) != 1) return;
          std::this_thread::sleep_for(std::chrono::milliseconds(s.pause_ms));
        }
      }
    } else if (s.kind == step::reset) {
      linger l{1, 0};  // a zero linger turns the close into a reset
      setsockopt(fd, SOL_SOCKET, SO_LINGER, &l, sizeof l);
      shutdown(fd, SHUT_RD);
      closing_close(fd);
    } else {
      closing_close(fd);
    }
  }
  void closing_close(int fd) {
    std::lock_guard<std::mutex> g(m_);
    close(fd);
    cfd_ = -1;
  }

  int lfd_ = -1;
  int cfd_ = -1;
  std::thread worker_;
  std::mutex m_;
  std::condition_variable cv_;
  std::deque<step> steps_;
  bool busy_ = false;
  bool stop_ = false;
  bool request_done_ = false;
  std::string request_;
};

// A loopback port nobody listens on at the moment.
inline unsigned short free_port() {
  const int fd = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in a{};
  a.sin_family = AF_INET;
  a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  bind(fd, reinterpret_cast<sockaddr*>(&a), sizeof a);
  socklen_t len = sizeof a;
  getsockname(fd, reinterpret_cast<sockaddr*>(&a), &len);
  close(fd);
  return ntohs(a.sin_port);
}

// nginx serving root/www on a free loopback port, everything it writes kept
// under root; stopped by the destructor, and killed with the test process.
class nginx_server {
 public:
  static constexpr const char* binary = "/usr/sbin/nginx";

  explicit nginx_server(const std::string& root) : root_(root) {
    if (access(binary, X_OK) != 0) {
      error = std::string(binary) + " is missing (make test installs it)";
      return;
    }
    for (int attempt = 0; attempt < 5 && pid_ <= 0; ++attempt) start();
  }
  ~nginx_server() { stop(); }
  nginx_server(const nginx_server&) = delete;
  nginx_server& operator=(const nginx_server&) = delete;

  bool running() const { return pid_ > 0; }
  std::string www() const { return root_ + "/www"; }
  unsigned short port = 0;
  std::string error;

 private:
  void start() {
    port = free_port();
    std::system(("mkdir -p '" + www() + "'").c_str());
    std::ostringstream conf;
    conf << "daemon off;\nmaster_process off;\nuser root;\nworker_processes 1;\n"
         << "pid " << root_ << "/nginx.pid;\nerror_log " << root_ << "/error.log;\n"
         << "events { worker_connections 64; }\nhttp {\n  access_log off;\n"
         << "  client_body_temp_path " << root_ << "/body;\n  proxy_temp_path " << root_
         << "/proxy;\n  fastcgi_temp_path " << root_ << "/fastcgi;\n  uwsgi_temp_path "
         << root_ << "/uwsgi;\n  scgi_temp_path " << root_ << "/scgi;\n"
         << "  server { listen 127.0.0.1:" << port << "; root " << www() << "; }\n}\n";
    write_file(root_ + "/nginx.conf", conf.str());

    const pid_t child = fork();
    if (child == 0) {
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      const std::string prefix = root_ + "/", conf_path = root_ + "/nginx.conf",
                        log = root_ + "/error.log";
      execl(binary, "nginx", "-p", prefix.c_str(), "-c", conf_path.c_str(), "-e", log.c_str(),
            static_cast<char*>(nullptr));
      _exit(127);
    }
    if (child < 0) return;
    // Ready once it accepts a connection; gone early means the port was taken.
    for (int i = 0; i < 500; ++i) {
      int status = 0;
      if (waitpid(child, &status, WNOHANG) == child) {
        error = read_file(root_ + "/error.log");
        return;
      }
      const int fd = socket(AF_INET, SOCK_STREAM, 0);
      sockaddr_in a{};
      a.sin_family = AF_INET;
      a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
      a.sin_port = htons(port);
      const bool up = connect(fd, reinterpret_cast<sockaddr*>(&a), sizeof a) == 0;
      close(fd);
      if (up) {
        pid_ = child;
        return;
      }
      usleep(10000);
    }
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    error = "nginx did not start listening";
  }
  void stop() {
    if (pid_ <= 0) return;
    kill(pid_, SIGTERM);
    for (int i = 0; i < 300; ++i) {
      if (waitpid(pid_, nullptr, WNOHANG) == pid_) {
        pid_ = -1;
        return;
      }
      usleep(10000);
    }
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
    pid_ = -1;
  }

  std::string root_;
  pid_t pid_ = -1;
};

// Points the proxy settings at a loopback port for the life of the object.
struct proxy_to_loopback {
  explicit proxy_to_loopback(unsigned short port) {
    http._proxy_host = "127.0.0.1";
    http._proxy_port = std::to_string(port);
    http._proxy_port_int = port;
  }
  ~proxy_to_loopback() {
    http._proxy_host.clear();
    http._proxy_port.clear();
    http._proxy_port_int = 0;
  }
};

}  // namespace net_test
