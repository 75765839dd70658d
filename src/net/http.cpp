#include "net/http.h"

#include <errno.h>

#include <climits>
#include <cstdlib>
#include <cstring>

#include "files/alert.h"
#include "files/log.h"
#include "files/paths.h"
#include "net/clock.h"
#include "net/proxy.h"

http_class http;
int ot_inited = 0;
long long net_bytes_received = 0;

namespace {

// The program's version text; the agent string is cut from its tail.
const char kVersionText[] = "Zephyra 8.50 RC-1";

const size_t kReadSize = 65536;

bool is_dir_char(char c) { return c == '/' || c == '\\' || c == ':'; }

void to_slashes(std::string& s) {
  for (char& c : s)
    if (is_dir_char(c)) c = '/';
}

int saturated_add(int a, size_t b) {
  const long long sum = static_cast<long long>(a) + static_cast<long long>(b);
  return sum > INT_MAX ? INT_MAX : static_cast<int>(sum);
}

// Per server: failures in a row and the earliest time to ask again.
struct retry_state {
  int failures = 0;
  double not_before = 0;
};
std::map<std::string, retry_state> retry_table;

double now_seconds() { return static_cast<double>(xtim.microsecs()) * 1e-6; }

}  // namespace

float stall_clock() {
  static_assert(sizeof(float) == sizeof(xtim.frame_count), "the clock is read as a float");
  // The frame counter's bits taken as a float, not its value: for any count a
  // run reaches this is next to zero, so the 30 s stall test never fires and
  // a silent transfer stays under way. Kept that way on purpose.
  float reading;
  memcpy(&reading, &xtim.frame_count, sizeof reading);
  return reading;
}

std::string make_agent_text(std::string version) {
  if (version.size() < 4)
    version.clear();
  else
    version.erase(0, version.size() - 4);
  return "Installer-LIN/" + version;
}

// ---------------------------------------------------------------------------

down_class::down_class(const char* host, unsigned short port, const char* path, bool post,
                       const std::map<std::string, std::string>& request_headers,
                       const char* body, int body_len, const char* file_name) {
  if (file_name) file_path = app_path + file_name;
  set_dir_chars(file_path);
  last_time = stall_clock();
  if (!host) host = "";
  if (!path) path = "";

  const bool proxied = UseProxy(host, port);
  const unsigned long address =
      PCSBSocket::LookupAddress(proxied ? http._proxy_host.c_str() : host);
  if (address == 0) {
    // Only a failed lookup is logged, so the address always reads 0.0.0.0.
    const unsigned char* b = reinterpret_cast<const unsigned char*>(&address);
    xer << "Translated server " << host << " to IP addy: " << int(b[0]) << '.' << int(b[1]) << '.'
        << int(b[2]) << '.' << int(b[3]) << " and port = " << port << '\n';
    xer.flush();
    os_err = 20011;
    return;
  }

  status_code = -1;
  socket = new PCSBSocket(0, false);
  socket->Connect(address, proxied ? static_cast<unsigned short>(http._proxy_port_int) : port);

  // Only blanks are escaped.
  std::string target;
  for (const char* p = path; *p; ++p) {
    if (*p == ' ')
      target += "%20";
    else
      target += *p;
  }

  std::string request = post ? "POST " : "GET ";
  if (proxied) {
    auto h = request_headers.find("Host");
    request += "http://";
    if (h != request_headers.end()) request += h->second;
  }
  request += target;
  request += " HTTP/1.1\r\n";
  for (const auto& kv : request_headers) request += kv.first + ": " + kv.second + "\r\n";
  if (body) request += "Content-Length: " + std::to_string(body_len) + "\r\n";
  request += "\r\n";

  out_buf.assign(request.begin(), request.end());
  if (body && body_len > 0) out_buf.insert(out_buf.end(), body, body + body_len);
}

down_class::~down_class() {
  // A partial file stays on disk with what arrived.
  if (file) fclose(file);
  delete socket;
}

void down_class::close_file() {
  if (!file) return;
  // Buffered bytes meet a full disk only here.
  const bool flushed = fflush(file) == 0;
  const int flush_err = errno;
  const bool closed = fclose(file) == 0;
  file = nullptr;
  if (os_err == 0 && !flushed) os_err = flush_err ? flush_err : EIO;
  if (os_err == 0 && !closed) os_err = errno ? errno : EIO;
}

bool down_class::IsDone() { return GetStat() == stat_closed; }

bool down_class::IsErr() {
  return os_err != 0 || !socket || socket->GetStatus() == PCSBSocket::status_Error;
}

int down_class::GetStat() {
  if (!socket) return stat_no_socket;
  const int s = socket->GetStatus();
  if (s == PCSBSocket::status_Waiting) return stat_connecting;
  if (s == PCSBSocket::status_Error) return stat_socket_error;
  if (s == PCSBSocket::status_Disconnected) return stat_closed;
  if (!out_buf.empty()) return stat_sending;
  return header_done ? stat_body : stat_header;
}

int down_class::GetOSErr() {
  if (os_err) return os_err;
  if (!socket) return 20009;
  return socket->GetOSError();
}

void down_class::header_line(const char* line, size_t len) {
  // Status lines are read by fixed columns: the code at 9, the reason from
  // 13. A line too short to reach the reason is not a status line at all.
  if (len >= 14 && memcmp(line, "HTTP/", 5) == 0) {
    char code[4] = {line[9], line[10], line[11], 0};
    status_code = static_cast<int>(strtol(code, nullptr, 10));
    status_text.assign(line + 13, len - 13);
    return;
  }
  if (len < 2) return;
  for (size_t i = 0; i + 1 < len; ++i) {
    if (line[i] == ':' && line[i + 1] == ' ') {
      // The first of a repeated name wins; names keep their case.
      headers.emplace(std::string(line, i), std::string(line + i + 2, len - i - 2));
      return;
    }
  }
}

void down_class::start_body() {
  header_done = true;
  if (!file_path.empty()) {
    file = fopen(file_path.c_str(), "wb");
    if (!file) os_err = errno ? errno : EIO;
  }
  auto cl = headers.find("Content-Length");
  if (cl != headers.end()) {
    errno = 0;
    const long long v = strtoll(cl->second.c_str(), nullptr, 10);
    // A length the counters can't hold would end in a false success.
    if (errno == ERANGE || v > INT_MAX || v < INT_MIN)
      os_err = EFBIG;
    else
      content_len = static_cast<int>(v);
  }
}

void down_class::take_body() {
  last_time = stall_clock();
  // Everything is here: the close comes from this side, so the owner sees
  // the end on this very call.
  if (content_len != -1 &&
      static_cast<long long>(in_buf.size()) + bytes_done >= static_cast<long long>(content_len))
    socket->Disconnect();
  if (!file || in_buf.empty()) return;
  bytes_done = saturated_add(bytes_done, in_buf.size());
  if (fwrite(in_buf.data(), 1, in_buf.size(), file) < in_buf.size()) os_err = errno ? errno : EIO;
  in_buf.clear();  // the capacity stays: memory is bounded by one read
}

void down_class::DoProcessing() {
  static char readChunk[kReadSize];
  if (!socket) return;

  const int status = socket->GetStatus();
  if (status == PCSBSocket::status_Disconnected || status == PCSBSocket::status_Error) {
    close_file();
    return;
  }
  if (status != PCSBSocket::status_Connected) return;

  if (!out_buf.empty()) {
    const long sent = socket->WriteData(out_buf.data(), static_cast<long>(out_buf.size()));
    if (sent > 0) out_buf.erase(out_buf.begin(), out_buf.begin() + sent);
  }

  // A clean close by the peer reads as 0 too, like no data: it ends nothing.
  const long got = socket->ReadData(readChunk, static_cast<long>(kReadSize));
  if (got < 1) return;
  net_bytes_received += got;
  in_buf.insert(in_buf.end(), readChunk, readChunk + got);

  if (!header_done) {
    size_t pos = 0;
    for (;;) {
      const size_t rest = in_buf.size() - pos;
      const char* at = in_buf.data() + pos;
      if (rest < 2) break;
      // The bytes before scan_from were looked at on an earlier call.
      const char* crlf = nullptr;
      for (size_t i = scan_from > pos ? scan_from - pos : 0; i + 1 < rest; ++i) {
        if (at[i] == '\r' && at[i + 1] == '\n') {
          crlf = at + i;
          break;
        }
      }
      if (!crlf) {
        scan_from = in_buf.size() - 1;
        break;
      }
      scan_from = 0;
      const size_t len = static_cast<size_t>(crlf - at);
      header_bytes += len + 2;
      if (crlf == at) {
        pos += 2;
        // An interim response (100 Continue) or no status yet: wait for the
        // next status line. What follows stays put until more data comes.
        if (status_code < 200) break;
        start_body();
        in_buf.erase(in_buf.begin(), in_buf.begin() + static_cast<long>(pos));
        take_body();
        return;
      }
      header_line(at, len);
      pos += len + 2;
    }
    in_buf.erase(in_buf.begin(), in_buf.begin() + static_cast<long>(pos));
    scan_from = scan_from > pos ? scan_from - pos : 0;
    if (header_bytes + in_buf.size() > kMaxHeaderBytes) {
      os_err = EMSGSIZE;
      socket->Disconnect();
    }
    return;
  }
  take_body();
}

// ---------------------------------------------------------------------------

int http_class::net_check(int stream, std::string server, std::string path,
                          const std::string& file) {
  static int inited_any = 0;
  static int soc_inited = 0;

  if (stream < 0 || stream > 5) {
    MACIBM_alert(0, "Too many download objects requested!", "", "", "", alert_fatal);
    return 2;
  }
  if (!inited_any) {
    inited_any = 1;
    for (down_class*& slot : down_objects) slot = nullptr;
    if (!soc_inited) {
      PCSBSocket::StartupNetworking(!ot_inited);
      ot_inited = 1;
      soc_inited = 1;
    }
  }

  down_class*& slot = down_objects[stream];
  const std::string server_key = server;  // as the callers name it, on every call
  // A server still resting after a failure fails at once, with no request
  // sent: the caller moves on to another mirror instead of waiting for it.
  if (!slot && retry_wait_max > 0) {
    auto r = retry_table.find(server_key);
    if (r != retry_table.end() && now_seconds() < r->second.not_before) return 2;
  }
  if (!slot) {
    if (!server.empty() && is_dir_char(server.back()))
      MACIBM_alert(0, "net_check error! You have a dirchar at the end of the server name!",
                   "You should not!",
                   "Our convention is that a server name is simply a server name... with no slash!",
                   server, alert_fatal);
    if (path.empty() || !is_dir_char(path[0]))
      MACIBM_alert(0,
                   "net_check error! You do not have a dirchar at the beginning of the directory "
                   "name!",
                   "You should!",
                   "Our convention is that a directory name does start with a slash because it "
                   "must include the hard drive,which is a dir char on unix!",
                   path, alert_fatal);
    std::string dest = file;
    to_slashes(server);
    to_slashes(path);
    to_slashes(dest);

    std::map<std::string, std::string> request_headers;
    request_headers["Host"] = server;
    request_headers["User-agent"] = make_agent_text(kVersionText);
    request_headers["Connection"] = "close";
    slot = new down_class(server.c_str(), 80, path.c_str(), false, request_headers, nullptr, 0,
                          dest.c_str());
  }

  down_class* d = slot;
  d->DoProcessing();

  const bool finished = d->IsDone() || d->IsComplete() || d->IsErr();
  if (!finished) {
    if (static_cast<double>(stall_clock()) <= static_cast<double>(d->last_time) + 30.0) return 0;
    delete d;
    slot = nullptr;
    return 2;
  }

  // Success only once the file's data are on the disk.
  if (d->status_code >= 200 && d->status_code <= 299 && d->IsComplete()) d->close_file();
  if (d->status_code >= 200 && d->status_code <= 299 && d->IsComplete() && !d->IsErr()) {
    delete d;
    slot = nullptr;
    retry_table.erase(server_key);
    return 1;
  }
  if (retry_wait_max > 0) {
    retry_state& r = retry_table[server_key];
    const double wait = r.failures < 5 ? static_cast<double>(1 << r.failures) : 1e9;
    r.failures = r.failures < 30 ? r.failures + 1 : 30;
    r.not_before = now_seconds() + (wait < retry_wait_max ? wait : retry_wait_max);
  }

  xer << "HTTP Error for " << file << '\n'
      << "   server     =" << server << '\n'
      << "   file       =" << path << '\n'
      << "   IsDone     =" << int(d->IsDone()) << '\n'
      << "   IsComplete =" << int(d->IsComplete()) << '\n'
      << "   IsErr      =" << int(d->IsErr()) << '\n'
      << "   GetStat    =" << d->GetStat() << '\n'
      << "   GetOSErr   =" << d->GetOSErr() << '\n'
      << "   response   =" << d->status_text << " (#" << d->status_code << ")\n\n";
  xer.flush();
  delete d;
  slot = nullptr;
  return 2;
}
