// The scheduler and the progress texts, on entries that need no network.

#include "install/status.h"
#include "install/transfer.h"
#include "install_fixture.h"

namespace {

struct Streams : install_case {
  void SetUp() override { install_case::SetUp(), next.reset_all_streams(); }
  // n entries already in place: each is passed over in one visit.
  void entries_in_place(int n) {
    const std::string sig = "0123456789abcdef0123456789abcdef";
    for (int i = 0; i < n; ++i)
      sim_info.push_back({{0, 0, 0, 0, 0, sig, sig, "Zephyra/f" + std::to_string(i), 1}});
  }
  // Entries each active stream holds after one pass; "-" for an idle slot.
  std::string pass() {
    grab_files();
    std::string s;
    for (int i = 0; i < stream_max; ++i)
      s += next.stream_slots[i] ? std::to_string(next.stream_entry[i]) + " " : "- ";
    return s;
  }
};

}  // namespace

TEST_F(Streams, EntriesGoInListOrderToTheStreamsTheCountAllows) {
  EXPECT_EQ(grab_files(), 1);  // an empty list is complete at once
  next.reset_all_streams();
  EXPECT_EQ(next.install_done, 1);  // and a reset doesn't undo that
  next.install_done = 0;

  entries_in_place(5);
  EXPECT_EQ(pass(), "0 1 - - ");
  EXPECT_EQ(pass(), "2 3 - - ");
  EXPECT_EQ(pass(), "4 5 - - ");  // the second stream is past the end, idle
  EXPECT_EQ(next.install_done, 0);
  EXPECT_EQ(grab_files(), 1);  // the first stream's entry is done now
  EXPECT_EQ(next.next_file, 5);  // held at the number of entries
  EXPECT_EQ(stg.file_action, 2);  // already right

  sim_info.clear();
  entries_in_place(12);
  // 1: the first stream to finish retires. 3: one more starts on the first
  // finished entry, never a fourth. 9: as good as four.
  const std::pair<int, std::vector<std::string>> table[] = {
      {1, {"- 1 - - ", "- 2 - - "}},
      {3, {"0 1 2 - ", "3 4 5 - ", "6 7 8 - "}},
      {9, {"0 1 2 3 ", "4 5 6 7 "}}};
  for (auto& [count, passes] : table) {
    next.reset_all_streams();
    stg.stream_count = count;
    for (auto& want : passes) EXPECT_EQ(pass(), want) << count;
  }
}

TEST_F(Streams, AutomaticCountGrowsOnlyAfterFiftyKilobytes) {
  entries_in_place(12);
  next.bytes_done_b = 50;  // not above 50: stays at two
  EXPECT_EQ(pass(), "0 1 - - ");
  next.bytes_done_b = 50.5f;
  EXPECT_EQ(pass(), "2 3 4 5 ");

  next.bytes_done_a = 0;
  for (float kb : {100.0f, 100.5f, 150.5f, 200.5f}) {
    next.bytes_done_b = kb;
    EXPECT_EQ(next.stream_target(), kb == 100.0f ? 4 : kb < 150 ? 6 : kb < 200 ? 8 : 9);
  }
  // The tuning's clock never counts as more than 1 s.
  xtim.real_time = 5000;
  next.reset_all_streams();
  next.bytes_done_b = 60;
  EXPECT_EQ(next.stream_target(), 4);
}

TEST_F(Streams, ResetRemovesTheNameBesideTheTargetButNotTheArchive) {
  entries_in_place(3);
  tmp.put("dest/f1.zip", "partial");
  tmp.put("dest/f0.zip", "not in hand");
  tmp.put("temp/0.zip", "archive in flight");
  next.stream_entry[0] = 1;
  next.stream_entry[1] = 7;  // past the end: nothing to remove
  next.next_file = 2;
  next.bytes_done_b = next.bytes_installed = 40;
  xtim.real_time = 12.5f;
  next.reset_all_streams();
  EXPECT_FALSE(tmp.exists("dest/f1.zip"));
  EXPECT_TRUE(tmp.exists("dest/f0.zip") && tmp.exists("temp/0.zip"));
  EXPECT_EQ(next.next_file + next.bytes_done_b + next.bytes_installed, 0);
  EXPECT_EQ(next.stream_fresh[0] + next.stream_fresh[1] + next.stream_slots[2], 2);
  EXPECT_EQ(next.install_start_time, 12.5f);
}

struct Status : install_case {};

TEST_F(Status, NumbersAreCutNotRoundedAndUnitsSwitchAtTwo) {
  const std::pair<float, const char*> overall[] = {
      {0.0735f, "07.3"}, {0.073f, "07.2"},  // 7.2999... in single precision
      {0.0f, "00.0"},    {1.0f, "100.0"}};
  for (auto& [r, text] : overall) EXPECT_EQ(overall_percent_text(r), text) << r;
  EXPECT_EQ(file_percent_text(0.999f), "99");
  EXPECT_EQ(file_percent_text(-0.01f), "-1");  // length not known yet
  const std::pair<float, const char*> times[] = {
      {119.9f, "119 seconds"}, {120, "2 minutes"}, {7199, "119 minutes"}, {7200, "2 hours"}};
  for (auto& [s, text] : times) EXPECT_EQ(time_left_phrase(s), text) << s;
}

TEST_F(Status, TheThreeLinesFromTheRunsState) {
  crnt_file_name = "body.zip";
  stg.file_action = 1;
  stg.file_frac = 0.429f;
  EXPECT_EQ(install_status(0, 0, "").line1,
            "Downloading and installing body.zip, currently 42% done with that file.");
  stg.file_action = 2;  // the lower-case start is the program's own, kept
  EXPECT_EQ(install_status(0, 0, "").line1.substr(0, 32), "duplicate filename through file ");

  next.stream_slots[0] = next.stream_slots[1] = next.stream_slots[3] = 1;
  next.bytes_installed = 1500;
  next.bytes_done_a = 40;
  next.bytes_done_b = 60;
  xtim.real_time = 0.5f;  // under a second counts as one
  status_lines s = install_status(0.01f, 1300, "3.0 Meg");
  EXPECT_EQ(s.line2,
            "01.0% done with the internet install, having installed 1.5 Meg of 3.0 Meg for the "
            "internet install.");
  EXPECT_EQ(s.line3, "");  // not above 0.01 yet
  s = install_status(0.5f, 1300, "3.0 Meg");
  EXPECT_EQ(s.line3,
            "About 12 seconds left in the install, downloading at 100 kilobytes/second with 3 "
            "simultaneous download streams.");
  next.bytes_done_a = next.bytes_done_b = 0;  // no rate at all must not break the phrase
  EXPECT_NE(install_status(0.5f, 1300, "").line3.find("hours left"), std::string::npos);
}

TEST_F(Status, SmoothedProgressFollowsTheInstalledShareWithinZeroToOne) {
  EXPECT_FLOAT_EQ(smooth_progress(0.4f, 500, 1000, 0.1f), 0.45f);  // k = 0.5
  // Files fetched twice after a rewind can pass the total: held at 1.
  EXPECT_FLOAT_EQ(smooth_progress(1, 3000, 1000, 0.1f), 1.0f);
  // A run of deletions only has nothing to measure; with no size known,
  // anything installed counts as all of it.
  EXPECT_FLOAT_EQ(smooth_progress(0, 0, 0, 0.1f), 0.0f);
  EXPECT_FLOAT_EQ(smooth_progress(0, 5, 0, 0.1f), 0.5f);
}
