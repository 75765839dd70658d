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
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

#include "files/log.h"
#include "net/clock.h"
#include "net/http.h"

namespace net_test {

inline std::string read_file(const std::string& path) {
  std::stringstream ss;
  ss << std::ifstream(path, std::ios::binary).rdbuf();
  return ss.str();
}

inline void write_file(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

// What a shell command prints on stdout.
inline std::string shell_output(const std::string& cmd) {
  std::string out;
  FILE* p = popen(cmd.c_str(), "r");
  char buf[4096];
  size_t n;
  while (p && (n = fread(buf, 1, sizeof buf, p)) > 0) out.append(buf, n);
  if (p) pclose(p);
  return out;
}

inline bool exists(const std::string& path) { return access(path.c_str(), F_OK) == 0; }

// Deterministic, incompressible-looking bytes.
inline std::string pattern_bytes(size_t n, unsigned seed) {
  std::string s(n, '\0');
  unsigned x = seed * 2654435761u + 1;
  for (char& c : s) {
    x ^= x << 13;
    x ^= x >> 17;
    x ^= x << 5;
    c = static_cast<char>(x);
  }
  return s;
}

// A folder under /tmp, removed with everything in it; xer writes into its Log.txt.
struct scratch {
  std::string path;
  scratch() {
    char tmpl[] = "/tmp/zephyra_net_XXXXXX";
    path = mkdtemp(tmpl);
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

template <class F>
bool poll_until(F step, int ms = 5000) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
  for (; !step(); usleep(500))
    if (std::chrono::steady_clock::now() > end) return false;
  return true;
}

// 0 when the slot was still under way at the deadline.
inline int fetch(int slot, const std::string& server, const std::string& path,
                 const std::string& file, int ms = 10000) {
  int r = 0;
  poll_until([&] { return (r = http.net_check(slot, server, path, file)) != 0; }, ms);
  return r;
}

inline void drop_slot(int slot) {
  delete http.down_objects[slot];
  http.down_objects[slot] = nullptr;
}

inline int loopback_socket(bool listening, unsigned short* port) {
  const int fd = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in a{AF_INET, 0, {htonl(INADDR_LOOPBACK)}, {}};
  bind(fd, reinterpret_cast<sockaddr*>(&a), sizeof a);
  if (listening) listen(fd, 8);
  socklen_t len = sizeof a;
  getsockname(fd, reinterpret_cast<sockaddr*>(&a), &len);
  *port = ntohs(a.sin_port);
  return fd;
}

inline unsigned short free_port() {
  unsigned short port = 0;
  close(loopback_socket(false, &port));
  return port;
}

// The server end of one loopback connection, played by the test thread
// itself: a loopback send lands in the peer's queue at once.
class script_server {
 public:
  unsigned short port = 0;

  script_server() : lfd_(loopback_socket(true, &port)) {}
  ~script_server() {
    hang_up();
    close(lfd_);
  }
  script_server(const script_server&) = delete;
  script_server& operator=(const script_server&) = delete;

  // The request head, driving the client with step meanwhile; empty at the
  // deadline. Answer only after it: closing over unread bytes is a reset.
  template <class F>
  std::string request(F step, int ms = 5000) {
    const bool in = poll_until([&] {
      step();
      pollfd p{lfd_, POLLIN, 0};
      if (fd_ < 0 && poll(&p, 1, 0) > 0) fd_ = accept(lfd_, nullptr, nullptr);
      char buf[4096];
      for (ssize_t n; fd_ >= 0 && (n = recv(fd_, buf, sizeof buf, MSG_DONTWAIT)) > 0;)
        got_.append(buf, static_cast<size_t>(n));
      return got_.find("\r\n\r\n") != std::string::npos;
    }, ms);
    return in ? got_ : "";
  }
  void send(const std::string& bytes) { ::send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL); }
  void hang_up(bool reset = false) {
    if (fd_ < 0) return;
    linger l{1, 0};
    if (reset) setsockopt(fd_, SOL_SOCKET, SO_LINGER, &l, sizeof l);
    close(fd_);
    fd_ = -1;
    got_.clear();  // the next request comes on a new connection
  }

 private:
  int lfd_, fd_ = -1;
  std::string got_;
};

// nginx serving root/www on a free loopback port, everything it writes kept
// under root; stopped by the destructor, and killed with the test process.
class nginx_server {
 public:
  static constexpr const char* binary = "/usr/sbin/nginx";

  // extra: lines for the http block, such as "limit_rate 1m;".
  explicit nginx_server(const std::string& root, const std::string& extra = "")
      : root_(root), extra_(extra) {
    if (access(binary, X_OK) != 0) {
      error = std::string(binary) + " is missing (make test installs it)";
      return;
    }
    std::system(("mkdir -p '" + www() + "'").c_str());
    for (int attempt = 0; attempt < 5 && pid_ <= 0; ++attempt) start();
  }
  ~nginx_server() {
    if (pid_ > 0 && kill(pid_, SIGKILL) == 0) waitpid(pid_, nullptr, 0);
  }
  nginx_server(const nginx_server&) = delete;
  nginx_server& operator=(const nginx_server&) = delete;

  bool running() const { return pid_ > 0; }
  std::string www() const { return root_ + "/www"; }
  unsigned short port = 0;
  std::string error;

 private:
  void start() {
    port = free_port();
    std::ostringstream conf;
    conf << "daemon off;\nmaster_process off;\nuser root;\nworker_processes 1;\npid " << root_
         << "/nginx.pid;\nevents { worker_connections 64; }\nhttp {\n  access_log off;\n";
    for (const char* t : {"client_body", "proxy", "fastcgi", "uwsgi", "scgi"})
      conf << "  " << t << "_temp_path " << root_ << "/" << t << ";\n";
    conf << "  " << extra_ << "\n  server { listen 127.0.0.1:" << port << "; root " << www() << "; }\n}\n";
    write_file(root_ + "/nginx.conf", conf.str());

    const std::string log = root_ + "/error.log";
    const pid_t child = fork();
    if (child == 0) {
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      execl(binary, "nginx", "-p", (root_ + "/").c_str(), "-c", (root_ + "/nginx.conf").c_str(),
            "-e", log.c_str(), static_cast<char*>(nullptr));
      _exit(127);
    }
    // Ready once it accepts a connection; gone early means the port was taken.
    for (int i = 0; child > 0 && i < 500 && waitpid(child, nullptr, WNOHANG) == 0; ++i) {
      const int fd = socket(AF_INET, SOCK_STREAM, 0);
      sockaddr_in a{AF_INET, htons(port), {htonl(INADDR_LOOPBACK)}, {}};
      const bool up = connect(fd, reinterpret_cast<sockaddr*>(&a), sizeof a) == 0;
      close(fd);
      if (up) {
        pid_ = child;
        return;
      }
      usleep(10000);
    }
    if (child > 0 && kill(child, SIGKILL) == 0) waitpid(child, nullptr, 0);
    error = read_file(log) + "nginx did not start listening";
  }

  std::string root_, extra_;
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
