#include "install/servers.h"

#include "../net/net_support.h"
#include "install_fixture.h"

namespace {

const char kHeader[] = "I\n820 list of mirrors\nSERVERS\n";

struct ServerList : install_case {
  net_test::scratch net;  // its log
  void SetUp() override {
    install_case::SetUp();
    for (int i = 0; i < server_rows; ++i) server_name[i] = server_path[i] = server_desc[i] = "";
  }
  int read(const std::string& text) { return read_server_list(tmp.put("serverlist.txt", text)); }
};

}  // namespace

TEST_F(ServerList, RecordsFillTheTablesAndJoinTheReleaseToEachPath) {
  ASSERT_EQ(read(std::string(kHeader) +
                 "BETA 8.70b1\nFINAL 8.60r2\n"
                 "SERVER mirror1.example\n\n   /pub/sim/\n\nMirror one, fast in Europe  \n"
                 "FINALLY 9.99\nNOTE anything at all\n"
                 "SERVER mirror2.example\n/zephyra/\nSecond\n"
                 "ENDOFLIST\nSERVER after.example\n/x/\nNever read\n"),
            1);
  EXPECT_EQ(install_name, "8.60r2");  // BETA and FINALLY leave it alone
  ASSERT_EQ(stg.server_count, 2);
  EXPECT_EQ(server_name[0], "mirror1.example");
  EXPECT_EQ(server_path[0], "/pub/sim/8.60r2/");  // blank lines and leading blanks skipped
  EXPECT_EQ(server_desc[0], "Mirror one, fast in Europe  ");  // trailing blanks stay
  EXPECT_EQ(server_path[1], "/zephyra/8.60r2/");

  // FINAL after the rows: they already carry the placeholder. A SERVER that
  // ends the file gives empty fields.
  set_run_defaults();
  ASSERT_EQ(read(std::string(kHeader) + "SERVER a\n/p/\nA\nFINAL 8.61\nSERVER"), 1);
  EXPECT_EQ(server_path[0], "/p/Not Yet Scanned/");
  EXPECT_EQ(install_name, "8.61");
  ASSERT_EQ(stg.server_count, 2);
  EXPECT_EQ(server_name[1] + server_desc[1], "");
  EXPECT_EQ(server_path[1], "8.61/");

  // Rows past ten are dropped; none at all leaves no row chosen.
  std::string text = std::string(kHeader) + "FINAL r\n";
  for (int i = 0; i < 12; ++i) text += "SERVER host" + std::to_string(i) + "\n/p/\nRow\n";
  ASSERT_EQ(read(text), 1);
  EXPECT_EQ(stg.server_count, 10);
  EXPECT_EQ(server_name[9], "host9");
  EXPECT_TRUE(stg.server_index >= 0 && stg.server_index <= 9);
  ASSERT_EQ(read(std::string(kHeader) + "FINAL 8.60\nENDOFLIST\n"), 1);
  EXPECT_EQ(stg.server_count, 0);
  EXPECT_EQ(stg.server_index, -1);
}

TEST_F(ServerList, WrongHeadersAreRefusedAndEndTheRun) {
  for (const char* text : {"", "I\n821\nSERVERS\nSERVER a\n/p/\nA\n",
                           "I\n820\nSERVERS2\nSERVER a\n/p/\nA\n", "X\n820\nSERVERS\n"}) {
    SCOPED_TRACE(text);
    EXPECT_EQ(read(text), 0);
    EXPECT_EQ(app_done, 1);
    EXPECT_EQ(stg.stage, 2);
    EXPECT_EQ(stg.server_count, -1);
    app_done = stg.stage = 0;
  }
  EXPECT_NE(net.log().find("newer than I can understand"), std::string::npos);
}

struct BiasedDraw : install_case {};

TEST_F(BiasedDraw, TopRowsAreFavouredAndEndsAreClamped) {
  // With ten rows the first takes r up to about 0.170, the last from about
  // 0.922; rand() at its top rounds r to 1.
  const std::pair<float, int> ten[] = {{0.0f, 0}, {0.169f, 0}, {0.172f, 1},
                                       {0.921f, 8}, {0.923f, 9}, {1.0f, 9}};
  for (auto& [r, row] : ten) EXPECT_EQ(biased_row(r, 10), row) << r;
  for (float r : {0.0f, 0.5f, 1.0f}) EXPECT_EQ(biased_row(r, 1), 0);
  EXPECT_EQ(biased_row(0.5f, 0), -1);
}

TEST_F(BiasedDraw, DrawsFollowTheWeightsAndTheListsDoNot) {
  stg.server_count = 10;
  std::srand(12345);
  int hits[10] = {0}, even[10] = {0};
  for (int i = 0; i < 20000; ++i) {
    draw_server();
    ASSERT_TRUE(stg.server_index >= 0 && stg.server_index <= 9);
    ++hits[stg.server_index];
    draw_server_for_list();
    ++even[stg.server_index];
  }
  EXPECT_NEAR(hits[0] / 20000.0, 0.170, 0.015);  // the top row's share; the list's are even
  for (int i = 0; i < 10; ++i) EXPECT_NEAR(even[i] / 20000.0, 0.1, 0.015) << i;
}
