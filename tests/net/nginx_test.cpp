// Real files from a real nginx, reached through the proxy settings (the
// direct route would need port 80).
#include <errno.h>
#include <gtest/gtest.h>

#include <memory>

#include "net/http.h"
#include "net_support.h"

using net_test::read_file;
using net_test::write_file;

namespace {

class Nginx : public testing::Test {
 protected:
  net_test::scratch tmp;
  std::unique_ptr<net_test::nginx_server> server;
  std::unique_ptr<net_test::proxy_to_loopback> proxy;

  void SetUp() override {
    server = std::make_unique<net_test::nginx_server>(tmp.file("nginx"));
    ASSERT_TRUE(server->running()) << server->error;
    proxy = std::make_unique<net_test::proxy_to_loopback>(server->port);
  }
  void TearDown() override {
    for (int s = 0; s < 6; ++s) net_test::drop_slot(s);
    proxy.reset();
    server.reset();
  }
  std::string serve(const std::string& name, const std::string& bytes) {
    const std::string path = server->www() + "/" + name;
    std::system(("mkdir -p \"$(dirname '" + path + "')\"").c_str());
    write_file(path, bytes);
    return path;
  }
};

}  // namespace

TEST_F(Nginx, AFetchedFileIsByteIdenticalToItsSource) {
  // Several reads' worth and an odd tail, under a folder with a blank.
  const std::string source = serve("Aircraft/Big One/body.zip",
                                   net_test::pattern_bytes(5 * 1024 * 1024 + 12345, 7));
  const std::string dest = tmp.file("body.zip");
  EXPECT_EQ(net_test::fetch(2, "zephyra.example", "/Aircraft/Big One/body.zip", dest), 1);
  EXPECT_TRUE(read_file(dest) == read_file(source));
  EXPECT_EQ(tmp.log(), "");
}

TEST_F(Nginx, FourSlotsAtOnceEachGetTheirOwnFile) {
  std::string sources[4], dests[4];
  for (int i = 0; i < 4; ++i) {
    sources[i] = serve("f" + std::to_string(i) + ".zip",
                       net_test::pattern_bytes(700000 + 100000 * i, 20 + i));
    dests[i] = tmp.file("d" + std::to_string(i) + ".zip");
  }
  int result[4] = {0, 0, 0, 0};
  ASSERT_TRUE(net_test::poll_until([&] {
    bool all = true;
    for (int i = 0; i < 4; ++i) {
      if (result[i] == 0)
        result[i] = http.net_check(i + 2, "zephyra.example", "/f" + std::to_string(i) + ".zip",
                                   dests[i]);
      all = all && result[i] != 0;
    }
    return all;
  }, 20000));
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(result[i], 1) << i;
    EXPECT_TRUE(read_file(dests[i]) == read_file(sources[i])) << i;
  }
}

TEST_F(Nginx, AMissingFileFailsWithTheReportOfA404) {
  const std::string dest = tmp.file("missing.zip");
  EXPECT_EQ(net_test::fetch(1, "zephyra.example", "/nothing/here.zip", dest), 2);
  const std::string log = tmp.log();
  EXPECT_EQ(log.rfind("HTTP Error for " + dest + "\n", 0), 0u) << log;
  EXPECT_NE(log.find("   response   =Not Found (#404)\n\n"), std::string::npos) << log;
  EXPECT_NE(read_file(dest).find("404"), std::string::npos);  // the error page stays
}

TEST_F(Nginx, AFullDiskFailsTheTransferWithItsErrno) {
  serve("big.zip", net_test::pattern_bytes(1024 * 1024, 3));
  EXPECT_EQ(net_test::fetch(2, "zephyra.example", "/big.zip", "/dev/full"), 2);
  EXPECT_NE(tmp.log().find("   GetOSErr   =" + std::to_string(ENOSPC) + "\n"), std::string::npos)
      << tmp.log();
}
