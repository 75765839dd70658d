// Fetches files from an HTTP server on loopback through the download slots,
// calling net_check in a tight loop the way the frame loop would, only
// without the frame wait. Driven by net_fetch.sh.
//
//   net_fetch --free-port                      prints a free loopback port
//   net_fetch PORT DEST_DIR PATH [PATH ...]    one path: slot 2; up to four: slots 2 to 5
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "net/http.h"

namespace {

double now_seconds() {
  timeval tv;
  gettimeofday(&tv, nullptr);
  return tv.tv_sec + tv.tv_usec * 1e-6;
}

int free_port() {
  const int fd = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in a{};
  a.sin_family = AF_INET;
  a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (bind(fd, reinterpret_cast<sockaddr*>(&a), sizeof a) != 0) return 0;
  socklen_t len = sizeof a;
  getsockname(fd, reinterpret_cast<sockaddr*>(&a), &len);
  close(fd);
  return ntohs(a.sin_port);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && std::string(argv[1]) == "--free-port") {
    printf("%d\n", free_port());
    return 0;
  }
  if (argc < 4 || argc > 7) {
    fprintf(stderr, "usage: %s PORT DEST_DIR PATH [PATH ...] (at most four paths)\n", argv[0]);
    return 2;
  }
  http._proxy_host = "127.0.0.1";
  http._proxy_port = argv[1];
  http._proxy_port_int = atoi(argv[1]);
  const std::string dest_dir = argv[2];

  std::vector<std::string> paths(argv + 3, argv + argc);
  std::vector<std::string> dests;
  for (const std::string& p : paths) dests.push_back(dest_dir + p.substr(p.rfind('/')));
  std::vector<int> result(paths.size(), 0);

  const double start = now_seconds();
  size_t open = paths.size();
  while (open) {
    for (size_t i = 0; i < paths.size(); ++i) {
      if (result[i]) continue;
      result[i] = http.net_check(static_cast<int>(i) + 2, "bench.example", paths[i], dests[i]);
      if (result[i]) --open;
    }
  }
  const double took = now_seconds() - start;

  int failed = 0;
  for (size_t i = 0; i < paths.size(); ++i)
    if (result[i] != 1) {
      fprintf(stderr, "%s: result %d\n", paths[i].c_str(), result[i]);
      failed = 1;
    }
  printf("%.6f\n", took);
  return failed;
}
