#include "install/servers.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "../net/net_support.h"
#include "files/alert.h"
#include "install/stage.h"
#include "net/http.h"

namespace {

class ServerList : public testing::Test {
 protected:
  net_test::scratch tmp;

  void SetUp() override {
    set_run_defaults();
    app_done = 0;
    for (int i = 0; i < server_rows; ++i) server_name[i] = server_path[i] = server_desc[i] = "";
  }
  void TearDown() override {
    app_done = 0;
    set_run_defaults();
  }
  int read(const std::string& text) {
    const std::string path = tmp.file("serverlist.txt");
    net_test::write_file(path, text);
    return read_server_list(path);
  }
  void expect_refused(const std::string& text) {
    SCOPED_TRACE(text);
    EXPECT_EQ(read(text), 0);
    EXPECT_EQ(app_done, 1);
    EXPECT_EQ(stg.stage, 2);
    EXPECT_EQ(stg.server_count, -1);
    app_done = 0;
    stg.stage = 0;
  }
};

const char kHeader[] = "I\n820 list of mirrors\nSERVERS\n";

}  // namespace

TEST_F(ServerList, RecordsFillTheTablesAndJoinTheReleaseToEachPath) {
  ASSERT_EQ(read(std::string(kHeader) +
                 "BETA 8.70b1\n"
                 "FINAL 8.60r2\n"
                 "SERVER mirror1.example\n"
                 "\n"
                 "   /pub/sim/\n"
                 "\n"
                 "Mirror one, fast in Europe  \n"
                 "FINALLY 9.99\n"
                 "NOTE anything at all\n"
                 "SERVER mirror2.example\n/zephyra/\nSecond\n"
                 "ENDOFLIST\n"
                 "SERVER after.example\n/x/\nNever read\n"),
            1);
  EXPECT_EQ(install_name, "8.60r2");  // BETA and FINALLY leave it alone
  ASSERT_EQ(stg.server_count, 2);
  EXPECT_EQ(server_name[0], "mirror1.example");
  EXPECT_EQ(server_path[0], "/pub/sim/8.60r2/");  // blank lines and leading blanks skipped
  EXPECT_EQ(server_desc[0], "Mirror one, fast in Europe  ");  // trailing blanks stay
  EXPECT_EQ(server_path[1], "/zephyra/8.60r2/");
  EXPECT_EQ(server_name[2], "");
  EXPECT_TRUE(stg.server_index == 0 || stg.server_index == 1);
}

TEST_F(ServerList, OrderAndEndsOfTheFile) {
  // FINAL after the rows: the rows already carry the placeholder.
  ASSERT_EQ(read(std::string(kHeader) + "SERVER a\n/p/\nA\nFINAL 8.61\n"), 1);
  EXPECT_EQ(server_path[0], "/p/Not Yet Scanned/");
  EXPECT_EQ(install_name, "8.61");

  // A keyword may end its line; a SERVER with nothing after it gives empty fields.
  set_run_defaults();
  ASSERT_EQ(read(std::string(kHeader) + "FINAL 1\nSERVER a\n/p/\nA\nSERVER"), 1);
  ASSERT_EQ(stg.server_count, 2);
  EXPECT_EQ(server_name[1], "");
  EXPECT_EQ(server_path[1], "1/");
  EXPECT_EQ(server_desc[1], "");
}

TEST_F(ServerList, RowsPastTenAreDropped) {
  std::string text = std::string(kHeader) + "FINAL r\n";
  for (int i = 0; i < 12; ++i)
    text += "SERVER host" + std::to_string(i) + "\n/p/\nRow " + std::to_string(i) + "\n";
  ASSERT_EQ(read(text), 1);
  EXPECT_EQ(stg.server_count, 10);
  EXPECT_EQ(server_name[9], "host9");
  EXPECT_GE(stg.server_index, 0);
  EXPECT_LE(stg.server_index, 9);
}

TEST_F(ServerList, AListWithoutServersLeavesNoRowChosen) {
  ASSERT_EQ(read(std::string(kHeader) + "FINAL 8.60\nENDOFLIST\n"), 1);
  EXPECT_EQ(stg.server_count, 0);
  EXPECT_EQ(stg.server_index, -1);
}

TEST_F(ServerList, WrongHeadersAreRefusedAndEndTheRun) {
  expect_refused("");
  expect_refused("I\n821\nSERVERS\nSERVER a\n/p/\nA\n");
  expect_refused("I\n820\nSERVERS2\nSERVER a\n/p/\nA\n");
  expect_refused("X\n820\nSERVERS\n");
  EXPECT_NE(tmp.log().find("newer than I can understand"), std::string::npos);
}

TEST(BiasedDraw, TopRowsAreFavouredAndEndsAreClamped) {
  // With ten rows the first takes r up to about 0.170, the last from about 0.922.
  EXPECT_EQ(biased_row(0.0f, 10), 0);
  EXPECT_EQ(biased_row(0.169f, 10), 0);
  EXPECT_EQ(biased_row(0.172f, 10), 1);
  EXPECT_EQ(biased_row(0.921f, 10), 8);
  EXPECT_EQ(biased_row(0.923f, 10), 9);
  EXPECT_EQ(biased_row(1.0f, 10), 9);  // rand() at its top rounds r to 1
  for (float r : {0.0f, 0.5f, 1.0f}) EXPECT_EQ(biased_row(r, 1), 0);
  EXPECT_EQ(biased_row(0.5f, 0), -1);
}

TEST(BiasedDraw, DrawsFollowTheWeightsAndFailoverOfTheListDoesNot) {
  set_run_defaults();
  stg.server_count = 10;
  std::srand(12345);
  int hits[10] = {0};
  for (int i = 0; i < 20000; ++i) {
    draw_server();
    ASSERT_GE(stg.server_index, 0);
    ASSERT_LE(stg.server_index, 9);
    ++hits[stg.server_index];
  }
  // Expected shares: top row about 17%, last about 8%.
  EXPECT_NEAR(hits[0] / 20000.0, 0.170, 0.015);
  EXPECT_NEAR(hits[9] / 20000.0, 0.078, 0.012);
  for (int i = 1; i < 10; ++i) EXPECT_LT(hits[i], hits[i - 1] + 150) << i;

  // The list's failover is even across the rows.
  int even[10] = {0};
  for (int i = 0; i < 20000; ++i) {
    draw_server_for_list();
    ++even[stg.server_index];
  }
  for (int i = 0; i < 10; ++i) EXPECT_NEAR(even[i] / 20000.0, 0.1, 0.015) << i;

  // One row: both rules give row 0, and the list's rule calls no rand().
  stg.server_count = 1;
  stg.server_index = 5;
  std::srand(7);
  const int expected_next = std::rand();
  std::srand(7);
  draw_server_for_list();
  EXPECT_EQ(stg.server_index, 0);
  EXPECT_EQ(std::rand(), expected_next);
  draw_server();
  EXPECT_EQ(stg.server_index, 0);
  set_run_defaults();
}

// The list is fetched from the main server through slot 0.
TEST_F(ServerList, FetchedFromTheMainServerOnce) {
  net_test::nginx_server server(tmp.file("nginx"));
  ASSERT_TRUE(server.running()) << server.error;
  net_test::proxy_to_loopback proxy(server.port);
  temp_path = tmp.path + "/";

  // Not there yet: the step keeps failing and the count stays unknown.
  EXPECT_EQ(net_test::poll_until([] { return server_list_step() == 2; }), true);
  EXPECT_EQ(stg.server_count, -1);

  net_test::write_file(server.www() + "/serverlist.txt",
                       std::string(kHeader) + "FINAL 8.60\nSERVER m\n/z/\nMirror\n");
  int result = 0;
  ASSERT_TRUE(net_test::poll_until([&] { return (result = server_list_step()) != 0; }));
  EXPECT_EQ(result, 1);
  EXPECT_EQ(stg.server_count, 1);
  EXPECT_EQ(server_path[0], "/z/8.60/");
  EXPECT_EQ(http.down_objects[0], nullptr);
  EXPECT_EQ(server_list_step(), 1);  // read once; no new fetch
  EXPECT_EQ(http.down_objects[0], nullptr);
  EXPECT_EQ(main_server, kDefaultMainServer);
}
