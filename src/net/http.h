// Polled HTTP/1.1 downloads. down_class is one request whose response body
// streams into a file; http_class holds six numbered slots, and net_check,
// called once a frame per slot, starts, advances and judges a transfer.
#pragma once
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "net/sockets.h"

class down_class {
 public:
  // States GetStat reports.
  enum {
    stat_no_socket = 0,
    stat_connecting = 1,
    stat_socket_error = 2,
    stat_closed = 3,
    stat_sending = 4,
    stat_body = 5,
    stat_header = 6
  };

  PCSBSocket* socket = nullptr;   // owned; null when the address wasn't found
  std::vector<char> out_buf;      // request bytes not yet sent
  std::vector<char> in_buf;       // response bytes not yet consumed
  bool header_done = false;       // a final status and its blank line were seen
  int status_code = 0;            // 0 no socket, -1 until a status line arrives
  std::string status_text;        // the reason phrase
  std::map<std::string, std::string> headers;
  FILE* file = nullptr;
  std::string file_path;          // empty: the body stays in in_buf
  int os_err = 0;                 // errno of fopen/fwrite, or 20011 for a failed lookup
  int content_len = -1;
  int bytes_done = 0;
  float last_time = 0;            // stall clock at creation and at each body arrival
  size_t scan_from = 0;           // where the search for the next header line end resumes
  size_t header_bytes = 0;        // header lines taken so far, interim responses included

  // file is relative to app_path; null keeps the body in in_buf.
  down_class(const char* host, unsigned short port, const char* path, bool post,
             const std::map<std::string, std::string>& request_headers, const char* body,
             int body_len, const char* file);
  ~down_class();
  down_class(const down_class&) = delete;
  down_class& operator=(const down_class&) = delete;

  void DoProcessing();
  bool IsDone();
  bool IsComplete() const { return content_len == bytes_done; }
  bool IsErr();
  int GetStat();
  int GetOSErr();

  // Flushes and closes the file; a failure becomes os_err. Data count as
  // written only once this has succeeded.
  void close_file();

 private:
  void header_line(const char* line, size_t len);
  void start_body();
  void take_body();
};

// The most a response's header may take, lines and table together: no
// server of ours comes near it, and without a bound a server could make the
// header grow until memory runs out.
const size_t kMaxHeaderBytes = 64 * 1024;

class http_class {
 public:
  // Bound to the preference file under these names.
  std::string _proxy_host;      // empty: no proxy
  std::string _proxy_port;      // as typed
  int _proxy_port_int = 0;      // 0: no proxy
  down_class* down_objects[6] = {nullptr, nullptr, nullptr, nullptr, nullptr, nullptr};
  // Seconds at most between two requests to a server that keeps failing;
  // the wait starts at 1 s and doubles, and a call meanwhile fails at once.
  // 0 asks again at once, as the window does; the console sets it.
  float retry_wait_max = 0;

  // 0 under way, 1 complete with the file on disk, 2 failed; the slot is
  // free again after 1 or 2.
  int net_check(int stream, std::string server, std::string path, const std::string& file);
};

extern http_class http;
// Bytes received from any server since start-up, headers included.
extern long long net_bytes_received;
extern int ot_inited;

// "Installer-LIN/" and the last four characters of the program's version text.
std::string make_agent_text(std::string version);

// The stall test's clock: the bits of xtim.frame_count read as a float.
float stall_clock();
