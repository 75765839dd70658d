// The slot front end: requests through the proxy to a scripted loopback
// server, results, the report block, the stall rule and misuse alerts.
#include <errno.h>
#include <gtest/gtest.h>

#include <cstring>

#include "files/alert.h"
#include "net/clock.h"
#include "net/http.h"
#include "net_support.h"

using net_test::poll_until;
using net_test::read_file;
using net_test::scratch;
using net_test::script_server;

namespace {

class NetCheck : public testing::Test {
 protected:
  scratch tmp;
  script_server srv;
  std::string dest = tmp.file("out.zip");

  void SetUp() override { xtim.frame_count = 0; }
  void TearDown() override {
    for (int s = 0; s < 6; ++s) net_test::drop_slot(s);
    xtim.frame_count = 0;
  }

  std::string report(const std::string& file, const std::string& server, const std::string& path,
                     int done, int complete, int err, int stat, int os_err,
                     const std::string& response) {
    return "HTTP Error for " + file + "\n   server     =" + server + "\n   file       =" + path +
           "\n   IsDone     =" + std::to_string(done) + "\n   IsComplete =" +
           std::to_string(complete) + "\n   IsErr      =" + std::to_string(err) +
           "\n   GetStat    =" + std::to_string(stat) + "\n   GetOSErr   =" +
           std::to_string(os_err) + "\n   response   =" + response + "\n\n";
  }
};

}  // namespace

TEST_F(NetCheck, ThroughTheProxyTheTargetNamesTheServerAndTheResultComesWithTheLastBytes) {
  net_test::proxy_to_loopback proxy(srv.port);
  EXPECT_EQ(http.net_check(2, "example", "/a b/c.zip", dest), 0);
  ASSERT_NE(http.down_objects[2], nullptr);
  ASSERT_TRUE(poll_until([&] {
    EXPECT_EQ(http.net_check(2, "example", "/a b/c.zip", dest), 0);
    return srv.has_request();
  }));
  EXPECT_EQ(srv.request(),
            "GET http://example/a%20b/c.zip HTTP/1.1\r\n"
            "Connection: close\r\n"
            "Host: example\r\n"
            "User-agent: Installer-LIN/RC-1\r\n"
            "\r\n");

  srv.send("HTTP/1.1 200 OK\r\nContent-Length: 7\r\n\r\ncontent");
  int r = 0;
  bool zero_after_data = false;
  ASSERT_TRUE(poll_until([&] {
    r = http.net_check(2, "example", "/a b/c.zip", dest);
    if (r == 0 && http.down_objects[2]->status_code != -1) zero_after_data = true;
    return r != 0;
  }));
  EXPECT_EQ(r, 1);
  EXPECT_FALSE(zero_after_data);
  EXPECT_EQ(http.down_objects[2], nullptr);
  EXPECT_EQ(read_file(dest), "content");
  EXPECT_EQ(tmp.log(), "");
}

TEST_F(NetCheck, DirCharsOfAllKindsBecomeSlashesAndTheSlotIsReusedAfterAnEnd) {
  net_test::proxy_to_loopback proxy(srv.port);
  srv.send("HTTP/1.1 200 OK\r\nContent-Length: 3\r\n\r\none");
  const std::string colon_dest = tmp.path + ":first.bin";
  EXPECT_EQ(net_test::fetch(1, "example", ":dir\\sub/f.zip", colon_dest), 1);
  EXPECT_EQ(srv.request(), std::string("GET http://example/dir/sub/f.zip HTTP/1.1\r\n"
                                       "Connection: close\r\nHost: example\r\n"
                                       "User-agent: Installer-LIN/RC-1\r\n\r\n"));
  EXPECT_EQ(read_file(tmp.file("first.bin")), "one");

  // The free slot starts a fresh transfer on the next call.
  script_server second;
  net_test::proxy_to_loopback proxy2(second.port);
  second.send("HTTP/1.1 200 OK\r\nContent-Length: 3\r\n\r\ntwo");
  EXPECT_EQ(net_test::fetch(1, "other", "/g.zip", dest), 1);
  EXPECT_EQ(read_file(dest), "two");
  EXPECT_NE(second.request().find("Host: other\r\n"), std::string::npos);
}

TEST_F(NetCheck, AnErrorStatusFailsWithTheReportAndItsPageStaysOnDisk) {
  net_test::proxy_to_loopback proxy(srv.port);
  srv.send("HTTP/1.1 404 Not Found\r\nContent-Length: 9\r\n\r\nnot here!");
  EXPECT_EQ(net_test::fetch(3, "example", "/missing.zip", dest), 2);
  EXPECT_EQ(http.down_objects[3], nullptr);
  EXPECT_EQ(tmp.log(), report(dest, "example", "/missing.zip", 1, 1, 0, 3, 0, "Not Found (#404)"));
  EXPECT_EQ(read_file(dest), "not here!");
}

TEST_F(NetCheck, AnUnresolvableHostFailsOnTheVeryFirstCall) {
  EXPECT_EQ(http.net_check(0, "no-such-host.invalid", "/serverlist.txt", dest), 2);
  EXPECT_EQ(http.down_objects[0], nullptr);
  EXPECT_EQ(tmp.log(),
            "Translated server no-such-host.invalid to IP addy: 0.0.0.0 and port = 80\n" +
                report(dest, "no-such-host.invalid", "/serverlist.txt", 0, 0, 1, 0, 20011, " (#0)"));
}

TEST_F(NetCheck, ConnectionFaultsFailWithTheReportAndNoAlert) {
  {
    SCOPED_TRACE("refused");
    net_test::proxy_to_loopback proxy(net_test::free_port());
    EXPECT_EQ(net_test::fetch(4, "example", "/f.zip", dest), 2);
    EXPECT_NE(tmp.log().find("   GetStat    =3\n"), std::string::npos);
  }
  {
    SCOPED_TRACE("reset after part of the body");
    net_test::proxy_to_loopback proxy(srv.port);
    srv.send("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\npart");
    srv.hang_up(true);
    EXPECT_EQ(net_test::fetch(5, "example", "/g.zip", dest), 2);
    EXPECT_NE(tmp.log().find("   response   =OK (#200)\n\n"), std::string::npos);
    EXPECT_EQ(read_file(dest), "part");
  }
}

TEST_F(NetCheck, ADestinationThatCantBeOpenedFailsOnceTheHeaderIsIn) {
  net_test::proxy_to_loopback proxy(srv.port);
  net_test::write_file(tmp.file("plain"), "x");
  const std::string bad = tmp.file("plain/out.zip");
  srv.send("HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\nbody");
  EXPECT_EQ(net_test::fetch(2, "example", "/f.zip", bad), 2);
  EXPECT_EQ(tmp.log(), report(bad, "example", "/f.zip", 1, 0, 1, 3, ENOTDIR, "OK (#200)"));
}

TEST_F(NetCheck, NothingEverTimesOutBecauseTheStallClockIsTheFrameCountersBits) {
  // A silent server, and one that closes halfway: both stay under way
  // however many frames pass, since the 30 s test reads the frame counter's
  // storage as a float, which stays next to zero.
  net_test::proxy_to_loopback proxy(srv.port);
  script_server early;
  early.send("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf");
  early.hang_up();
  const std::string early_dest = tmp.file("early.zip");
  http.net_check(2, "example", "/silent.zip", dest);
  {
    net_test::proxy_to_loopback to_early(early.port);
    http.net_check(3, "example", "/early.zip", early_dest);
  }
  ASSERT_TRUE(poll_until([&] {
    http.net_check(3, "example", "/early.zip", early_dest);
    return early.wait_played(0);
  }));
  for (int frame : {1, 100, 100000, 50000000, 1000000000}) {
    xtim.frame_count = frame;
    xtim.real_time = static_cast<float>(frame) / 60.0f;
    for (int i = 0; i < 5; ++i) {
      ASSERT_EQ(http.net_check(2, "example", "/silent.zip", dest), 0) << frame;
      ASSERT_EQ(http.net_check(3, "example", "/early.zip", early_dest), 0) << frame;
      usleep(1000);
    }
  }
  ASSERT_NE(http.down_objects[3], nullptr);
  EXPECT_EQ(http.down_objects[3]->bytes_done, 4);

  // The test itself is there: once the bits read above 30 it fires, with
  // nothing logged.
  const float past = 31.0f;
  std::memcpy(&xtim.frame_count, &past, sizeof past);
  EXPECT_EQ(http.net_check(2, "example", "/silent.zip", dest), 2);
  EXPECT_EQ(http.down_objects[2], nullptr);
  EXPECT_EQ(tmp.log(), "");
}

TEST(AgentText, TheLastFourCharactersOfTheVersionOrNothing) {
  EXPECT_EQ(make_agent_text("Zephyra 8.50 RC-1"), "Installer-LIN/RC-1");
  EXPECT_EQ(make_agent_text("RC-1"), "Installer-LIN/RC-1");
  EXPECT_EQ(make_agent_text("1.0"), "Installer-LIN/");
}

// ---------------------------------------------------------------------------
// Misuse of the call is fatal.

namespace {

void print_alert(int, const std::string lines[4], int level, const std::string&) {
  fprintf(stderr, "%s/%s/%s/%s/level %d\n", lines[0].c_str(), lines[1].c_str(),
          lines[2].c_str(), lines[3].c_str(), level);
}

void misuse(int slot, const char* server, const char* path) {
  ogl_inited = 1;
  alert_hooks.show_screen = print_alert;
  http.net_check(slot, server, path, "/tmp/zephyra_never_written.zip");
}

}  // namespace

TEST(NetCheckDeathTest, SlotMisuseRaisesTheFatalAlert) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(misuse(6, "example", "/f.zip"), "Too many download objects requested!////level 2");
  EXPECT_DEATH(misuse(-1, "example", "/f.zip"), "Too many download objects requested!////level 2");
  for (const char* server : {"host/", "host\\", "host:"})
    EXPECT_DEATH(misuse(2, server, "/f.zip"),
                 "net_check error! You have a dirchar at the end of the server name!/"
                 "You should not!/Our convention is that a server name is simply a server "
                 "name... with no slash!/host./level 2");
  for (const char* path : {"", "f.zip"})
    EXPECT_DEATH(misuse(2, "example", path),
                 "net_check error! You do not have a dirchar at the beginning of the directory "
                 "name!/You should!/Our convention is that a directory name does start with a "
                 "slash because it must include the hard drive,which is a dir char on unix!/" +
                     std::string(path) + "/level 2");
}
