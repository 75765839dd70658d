#include "install/selection.h"

#include <deque>
#include <vector>

#include "../files/temp_log.h"
#include "install_fixture.h"

namespace {

// A file on disk as an earlier release, the current one, or edited by hand.
const char *const kOld = "release 810\n", *const kNew = "release 840\n", *const kMine = "edited\n";

// The scripted person presses the button that carries the next label in the
// form asked, as a user reading the screen would.
std::vector<std::string> asked;  // below the destination; "+" marks the delete form
std::deque<std::string> press;

int scripted_select_alert(const std::string& path, int deleting) {
  asked.push_back(path.substr(dest_dir_path.size()) + (deleting ? "+" : ""));
  const std::string label = press.empty() ? "(none)" : press.front();
  if (!press.empty()) press.pop_front();
  for (const select_alert_button& b : select_alert_layout(deleting).buttons)
    if (label == b.label) return b.answer;
  ADD_FAILURE() << "no button \"" << label << "\" in form " << deleting << " for " << path;
  return select_cancel;
}

struct Selection : install_case {
  temp_log log;
  std::string list = "I\n840 test\nINSTALLER\n";
  const std::string sig_old = md5sum_of(tmp.put("old", kOld));
  const std::string sig_new = md5sum_of(tmp.put("new", kNew));

  void SetUp() override {
    install_case::SetUp();  // download_os 3, log_actions 0
    person_hooks.select_alert = scripted_select_alert;
    asked.clear();
  }
  // An entry from its releases ('o' old, 'n' new, 'G' gone) and what is on
  // disk (nullptr: nothing).
  void file(std::string name, const char* releases, const char* disk, int os = 0) {
    for (const char* r = releases; *r; ++r)
      list += "FILE 0 " + std::to_string(os) + " 840 10 20 " +
              (*r == 'G' ? "GONE" : *r == 'o' ? sig_old : sig_new) + " Zephyra:" + name + "\n";
    for (char& c : name) c = c == ':' ? '/' : c;
    if (disk) tmp.put("dest/" + name, disk);
  }
  // Scans, then presses START: "down del" of every entry, "10" fetch, "01" delete.
  std::string choose(std::deque<std::string> labels, int result = 1) {
    if (sim_info.empty()) {
      EXPECT_EQ(read_directory(tmp.put("list.txt", list), "Scanning"), 3);
    }
    press = labels;
    EXPECT_EQ(choose_files(), result);
    EXPECT_TRUE(press.empty());
    std::string s;
    for (auto& e : sim_info)
      s += std::to_string(e.back().want_down) + std::to_string(e.back().want_del) + " ";
    return s;
  }
  size_t questions_logged() {
    size_t n = 0;
    for (size_t at = 0; (at = log.text().find("File: ", at)) != std::string::npos; ++at) ++n;
    return n;
  }
};

TEST_F(Selection, EveryRowOfTheDecisionTableAndACancelPartWay) {
  file("missing", "n", nullptr);
  file("away", "G", nullptr);
  file("right", "n", kNew);
  file("old", "on", kOld);         // an untouched earlier release
  file("retired", "oG", kOld);     // the same, withdrawn
  file("win.dll", "n", kMine, 2);  // another platform's, edited
  file("mac", "n", nullptr, 1);
  file("linux", "n", nullptr, 6);  // every Linux
  file("empty", "n", "");          // zero length counts as changed
  file("edited", "n", kMine);
  EXPECT_EQ(choose({"OVERWRITE THE OLD FILE", "KEEP THE OLD FILE"}),
            "10 00 00 10 01 00 00 10 10 00 ");
  EXPECT_EQ(asked, (std::vector<std::string>{"empty", "edited"}));

  // A cancel stops the pass: entries from the question on keep their flags.
  for (auto& e : sim_info) e.back().want_down = e.back().want_del = 1;
  EXPECT_EQ(choose({"CANCEL THE WHOLE INSTALLATION!"}, 0), "10 00 00 10 01 00 00 10 11 11 ");
  EXPECT_EQ(questions_logged(), 3u);  // the cancelled question is logged too

  // An answer outside 1..5 is a broken screen and ends the run.
  person_hooks.select_alert = [](const std::string&, int) { return 9; };
  EXPECT_FATAL(choose_files(), "answer it does not have");
}

TEST_F(Selection, DeleteFormActsOnItsCrossedLabels) {
  // Deliberate: in the delete form "KEEP THE OLD FILE" answers like the
  // install form's first button and so deletes, while "DELETE THE OLD FILE"
  // leaves the file. The "EVERY" buttons are crossed the same way.
  for (const char* name : {"G1:a", "G1:b", "G2:a", "G2:b", "G3:a", "G3:b"})
    file(name, "G", kMine);
  EXPECT_EQ(choose({"KEEP THE OLD FILE", "DELETE THE OLD FILE",
                    "KEEP EVERY OLD FILE IN THIS DIRECTORY",
                    "DELETE EVERY OLD FILE IN THIS DIRECTORY"}),
            "01 00 01 01 00 00 ");
  EXPECT_EQ(asked, (std::vector<std::string>{"G1/a+", "G1/b+", "G2/a+", "G3/a+"}));
}

TEST_F(Selection, FolderAnswersHoldForTheirFolderOnlyAndOnePassOnly) {
  for (const char* name : {"A:one", "A:two", "A:sub:three", "A:sub:four", "B:five", "A:six"})
    file(name, "n", kMine);
  file("A:seven", "on", kOld);  // an old release: no question
  const std::deque<std::string> every = {"OVERWRITE EVERY OLD FILE IN THIS DIRECTORY",
                                         "KEEP EVERY OLD FILE IN THIS DIRECTORY",
                                         "KEEP THE OLD FILE"};
  EXPECT_EQ(choose(every), "10 10 00 00 00 10 10 ");
  EXPECT_EQ(asked, (std::vector<std::string>{"A/one", "A/sub/three", "B/five"}));
  // One log line per question, none for files a folder answer decided, even
  // with log_actions off.
  EXPECT_EQ(questions_logged(), 3u);
  EXPECT_NE(log.text().find("File: " + dest_dir_path + "A/sub/three  sig_want=" + sig_new +
                            "  sig_have=" + md5sum_of(dest_dir_path + "A/sub/three") + "\n"),
            std::string::npos)
      << log.text();
  choose(every);  // a new press starts with empty folder lists
  EXPECT_EQ(asked.size(), 6u);
}

}  // namespace
