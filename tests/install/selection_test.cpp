#include "install/selection.h"

#include <gtest/gtest.h>

#include <deque>
#include <string>
#include <vector>

#include "../files/temp_log.h"
#include "files/alert.h"
#include "install/directory.h"
#include "install/person.h"
#include "install/stage.h"
#include "install_fixture.h"

namespace {

// Three states of a file on disk: an earlier release, the current one, and
// one the user edited.
const std::string kOld = "release 810\n";
const std::string kNew = "release 840\n";
const std::string kMine = "edited by hand\n";

// The scripted person: each question takes the next label off the queue and
// presses the button that carries it in the form being asked.
struct question {
  std::string path;
  int deleting;
};
std::vector<question> asked;
std::deque<std::string> press;

int scripted_select_alert(const std::string& path, int deleting) {
  asked.push_back({path, deleting});
  if (press.empty()) ADD_FAILURE() << "unexpected question about " << path;
  const std::string label = press.empty() ? "CANCEL THE WHOLE INSTALLATION!" : press.front();
  if (!press.empty()) press.pop_front();
  const select_alert_form form = select_alert_layout(deleting);
  for (const select_alert_button& b : form.buttons)
    if (label == b.label) return b.answer;
  ADD_FAILURE() << "no button \"" << label << "\" in form " << deleting;
  return select_cancel;
}
int answer_nine(const std::string&, int) { return 9; }

class Selection : public ::testing::Test {
 protected:
  scratch_dir tmp;
  temp_log log;
  std::string sig_old, sig_new, sig_mine;
  std::string list = "I\n840 test\nINSTALLER\n";

  void SetUp() override {
    set_run_defaults();   // download_os 3, log_actions 0
    dest_dir_path = tmp.mkdirs("dest/");
    sig_old = md5sum_of(tmp.put("sigs/old", kOld));
    sig_new = md5sum_of(tmp.put("sigs/new", kNew));
    sig_mine = md5sum_of(tmp.put("sigs/mine", kMine));
    ASSERT_EQ(sig_old.size(), 32u);
    person_hooks = person_hooks_t{};
    person_hooks.select_alert = scripted_select_alert;
    asked.clear();
    press.clear();
  }
  void TearDown() override {
    person_hooks = person_hooks_t{};
    sim_info.clear();
  }

  // A row of the list under the top folder "Zephyra".
  void row(const std::string& sig, const std::string& name, int os = 0) {
    list += "FILE 0 " + std::to_string(os) + " 840 10 20 " + sig + " Zephyra:" + name + "\n";
  }
  void on_disk(const std::string& name, const std::string& bytes) { tmp.put("dest/" + name, bytes); }
  // Reads the list against the folder, as the run does before START.
  void scan() { ASSERT_EQ(read_directory(tmp.put("directory.txt", list), "Scanning"), 3); }
  std::string flags(size_t entry) {
    const file_version_struct& r = sim_info.at(entry).back();
    return std::to_string(r.want_down) + std::to_string(r.want_del);
  }
  int questions_logged() {
    const std::string text = log.text();
    int n = 0;
    for (size_t at = text.find("File: "); at != std::string::npos; at = text.find("File: ", at + 1))
      ++n;
    return n;
  }
};

// "down del" flags: "10" fetch, "01" delete, "00" leave alone.
TEST_F(Selection, EveryRowOfTheDecisionTable) {
  row(sig_new, "missing.txt");                                 // 0
  row("GONE", "away.txt");                                     // 1 gone and missing
  row(sig_new, "right.txt");              on_disk("right.txt", kNew);   // 2
  row(sig_old, "old.txt"); row(sig_new, "old.txt");            // 3 untouched old release
  on_disk("old.txt", kOld);
  row(sig_old, "retired.txt"); row("GONE", "retired.txt");     // 4 old release, withdrawn
  on_disk("retired.txt", kOld);
  row(sig_new, "win.dll", 2);             on_disk("win.dll", kMine);    // 5 other platform
  row(sig_new, "mac.bin", 1);                                  // 6 other platform, missing
  row(sig_new, "linux.bin", 6);                                // 7 all Linux, missing
  row(sig_new, "empty.txt");              on_disk("empty.txt", "");     // 8 zero length, changed
  row(sig_new, "edited.txt");             on_disk("edited.txt", kMine); // 9 changed
  scan();
  // Stale flags from an earlier press must not survive.
  for (auto& e : sim_info) e.back().want_down = e.back().want_del = 1;
  // The sums of the scan are not this pass's business.
  const float down = stg.tot_down, disk = stg.tot_disk;

  press = {"OVERWRITE THE OLD FILE", "KEEP THE OLD FILE"};
  EXPECT_EQ(choose_files(), 1);
  EXPECT_EQ(flags(0), "10");
  EXPECT_EQ(flags(1), "00");
  EXPECT_EQ(flags(2), "00");
  EXPECT_EQ(flags(3), "10");
  EXPECT_EQ(flags(4), "01");
  EXPECT_EQ(flags(5), "00");
  EXPECT_EQ(flags(6), "00");
  EXPECT_EQ(flags(7), "10");
  EXPECT_EQ(flags(8), "10");
  EXPECT_EQ(flags(9), "00");
  // Only the two edited files asked; neither the old releases nor the other
  // platform's edited file did.
  ASSERT_EQ(asked.size(), 2u);
  EXPECT_EQ(asked[0].path, dest_dir_path + "empty.txt");
  EXPECT_EQ(asked[0].deleting, 0);
  EXPECT_EQ(asked[1].deleting, 0);
  EXPECT_EQ(stg.tot_down, down);
  EXPECT_EQ(stg.tot_disk, disk);
}

TEST_F(Selection, EmptyListGoesThroughAtOnce) {
  scan();
  EXPECT_EQ(choose_files(), 1);
  EXPECT_TRUE(asked.empty());
  EXPECT_EQ(questions_logged(), 0);
}

TEST_F(Selection, DeleteFormHasItsLabelsCrossed) {
  // Deliberate: in the delete form "KEEP THE OLD FILE" answers like the first
  // button of the install form and so deletes the file, while "DELETE THE
  // OLD FILE" leaves it. The "EVERY" buttons are crossed the same way.
  row(sig_old, "Gone1:a.txt"); row("GONE", "Gone1:a.txt"); on_disk("Gone1/a.txt", kMine);
  row("GONE", "Gone1:b.txt");                               on_disk("Gone1/b.txt", kMine);
  row("GONE", "Gone2:a.txt");                               on_disk("Gone2/a.txt", kMine);
  row("GONE", "Gone2:b.txt");                               on_disk("Gone2/b.txt", kMine);
  row("GONE", "Gone3:a.txt");                               on_disk("Gone3/a.txt", kMine);
  row("GONE", "Gone3:b.txt");                               on_disk("Gone3/b.txt", kMine);
  scan();
  press = {"KEEP THE OLD FILE", "DELETE THE OLD FILE", "KEEP EVERY OLD FILE IN THIS DIRECTORY",
           "DELETE EVERY OLD FILE IN THIS DIRECTORY"};
  EXPECT_EQ(choose_files(), 1);
  EXPECT_EQ(flags(0), "01");  // "KEEP" deletes
  EXPECT_EQ(flags(1), "00");  // "DELETE" keeps
  EXPECT_EQ(flags(2), "01");  // "KEEP EVERY" deletes the folder's changed files
  EXPECT_EQ(flags(3), "01");
  EXPECT_EQ(flags(4), "00");  // "DELETE EVERY" keeps them
  EXPECT_EQ(flags(5), "00");
  ASSERT_EQ(asked.size(), 4u);
  for (const question& q : asked) EXPECT_EQ(q.deleting, 1) << q.path;
  EXPECT_EQ(asked[2].path, dest_dir_path + "Gone2/a.txt");
  EXPECT_EQ(asked[3].path, dest_dir_path + "Gone3/a.txt");

  // Both forms share the cancel button; the crossing shows in the labels.
  const select_alert_form inst = select_alert_layout(0), del = select_alert_layout(1);
  EXPECT_STREQ(inst.buttons[1].label, del.buttons[0].label);
  EXPECT_STREQ(inst.buttons[3].label, del.buttons[2].label);
  EXPECT_STREQ(inst.buttons[4].label, del.buttons[4].label);
  EXPECT_EQ(del.buttons[4].answer, select_cancel);
}

TEST_F(Selection, FolderAnswersHoldForTheirFolderOnlyAndOnePassOnly) {
  row(sig_new, "A:one.txt");       on_disk("A/one.txt", kMine);       // 0 asks: every, overwrite
  row(sig_new, "A:two.txt");       on_disk("A/two.txt", kMine);       // 1 decided by A
  row(sig_new, "A:sub:three.txt"); on_disk("A/sub/three.txt", kMine); // 2 asks again: every, keep
  row(sig_new, "A:sub:four.txt");  on_disk("A/sub/four.txt", kMine);  // 3 decided by A/sub
  row(sig_new, "B:five.txt");      on_disk("B/five.txt", kMine);      // 4 asks
  row(sig_new, "A:six.txt");       on_disk("A/six.txt", kMine);       // 5 decided by A
  row(sig_old, "A:seven.txt"); row(sig_new, "A:seven.txt");           // 6 old release, no question
  on_disk("A/seven.txt", kOld);
  scan();
  press = {"OVERWRITE EVERY OLD FILE IN THIS DIRECTORY", "KEEP EVERY OLD FILE IN THIS DIRECTORY",
           "KEEP THE OLD FILE"};
  EXPECT_EQ(choose_files(), 1);
  EXPECT_EQ(flags(0), "10");
  EXPECT_EQ(flags(1), "10");
  EXPECT_EQ(flags(2), "00");
  EXPECT_EQ(flags(3), "00");
  EXPECT_EQ(flags(4), "00");
  EXPECT_EQ(flags(5), "10");
  EXPECT_EQ(flags(6), "10");
  ASSERT_EQ(asked.size(), 3u);
  EXPECT_EQ(asked[0].path, dest_dir_path + "A/one.txt");
  EXPECT_EQ(asked[1].path, dest_dir_path + "A/sub/three.txt");
  EXPECT_EQ(asked[2].path, dest_dir_path + "B/five.txt");

  // One log line per question, none for files a folder answer decided, and
  // written although log_actions is off.
  EXPECT_EQ(stg.log_actions, 0);
  EXPECT_EQ(questions_logged(), 3);
  EXPECT_NE(log.text().find("File: " + dest_dir_path + "A/sub/three.txt  sig_want=" + sig_new +
                            "  sig_have=" + sig_mine + "\n"),
            std::string::npos)
      << log.text();

  // A new press starts with empty folder lists: every changed file asks again.
  asked.clear();
  press = {"OVERWRITE EVERY OLD FILE IN THIS DIRECTORY", "KEEP EVERY OLD FILE IN THIS DIRECTORY",
           "KEEP THE OLD FILE"};
  EXPECT_EQ(choose_files(), 1);
  EXPECT_EQ(asked.size(), 3u);
  EXPECT_EQ(questions_logged(), 6);
}

TEST_F(Selection, CancelPartWayKeepsTheFlagsOfTheRest) {
  row(sig_new, "first.txt");                             // 0 missing: decided before the cancel
  row(sig_new, "edited.txt"); on_disk("edited.txt", kMine);  // 1 the question
  row(sig_new, "after.txt");                             // 2 not reached
  scan();
  for (auto& e : sim_info) {
    e.back().want_down = 0;
    e.back().want_del = 1;
  }
  press = {"CANCEL THE WHOLE INSTALLATION!"};
  EXPECT_EQ(choose_files(), 0);
  EXPECT_EQ(flags(0), "10");
  EXPECT_EQ(flags(1), "01");
  EXPECT_EQ(flags(2), "01");
  EXPECT_EQ(asked.size(), 1u);
  EXPECT_EQ(questions_logged(), 1);  // the cancelled question was logged too

  // An answer outside 1..5 is a broken screen and ends the run.
  person_hooks.select_alert = answer_nine;
  EXPECT_FATAL(choose_files(), "answer it does not have");
}

}  // namespace
