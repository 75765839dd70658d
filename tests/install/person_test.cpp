#include "install/person.h"

#include <gtest/gtest.h>

#include <string>

#include "install_fixture.h"

namespace {

TEST(PersonSeams, ProgressFillIsHeldAndCentredWhenEmpty) {
  EXPECT_FLOAT_EQ(dir_progress_fill(0, 0, 100), 0.04f);
  EXPECT_FLOAT_EQ(dir_progress_fill(0, 50, 100), 0.52f);
  EXPECT_FLOAT_EQ(dir_progress_fill(0, 100, 100), 1.0f);
  EXPECT_FLOAT_EQ(dir_progress_fill(0, 250, 100), 1.0f);
  EXPECT_FLOAT_EQ(dir_progress_fill(0, -50, 100), 0.04f);
  EXPECT_FLOAT_EQ(dir_progress_fill(7, 7, 7), 0.52f);  // no division by zero
  EXPECT_STREQ(dir_progress_mode_text(dir_progress_parsing),
               "Currently SCANNING the directory text file.");
  EXPECT_STREQ(dir_progress_mode_text(dir_progress_examining),
               "Currently EXAMINING the hard disk.");
}

TEST(PersonSeams, DeleteFormCrossesItsLabels) {
  const select_alert_texts& inst = select_alert_text(0);
  const select_alert_texts& del = select_alert_text(1);
  EXPECT_STREQ(inst.first, "I am about to install:");
  EXPECT_STREQ(del.first, "I am about to DELETE:");
  EXPECT_STREQ(del.second,
               "because we no longer use this file, but it appears you have modified it. What "
               "to do?");
  // The same positions answer the same numbers in both forms, so in the
  // delete form "KEEP" goes on (deletes) and "DELETE" leaves the file. The
  // inversion is deliberate.
  for (int b = 0; b < 5; ++b) EXPECT_EQ(inst.answers[b], del.answers[b]);
  EXPECT_STREQ(inst.labels[0], "OVERWRITE THE OLD FILE");
  EXPECT_STREQ(del.labels[0], "KEEP THE OLD FILE");
  EXPECT_EQ(del.answers[0], select_go_on);
  EXPECT_STREQ(del.labels[1], "DELETE THE OLD FILE");
  EXPECT_EQ(del.answers[1], select_leave);
  EXPECT_STREQ(del.labels[2], "KEEP EVERY OLD FILE IN THIS DIRECTORY");
  EXPECT_EQ(del.answers[2], select_go_on_folder);
  EXPECT_STREQ(inst.labels[3], "KEEP EVERY OLD FILE IN THIS DIRECTORY");
  EXPECT_EQ(inst.answers[3], select_leave_folder);
  EXPECT_EQ(inst.answers[4], select_cancel);
  EXPECT_STREQ(del.labels[4], "CANCEL THE WHOLE INSTALLATION!");
}

std::string asked_path;
int asked_deleting = -1;
int answer_four(const std::string& path, int deleting) {
  asked_path = path;
  asked_deleting = deleting;
  return 4;
}

TEST(PersonSeams, QuestionGoesToTheProviderOrEndsTheRun) {
  person_hooks = person_hooks_t{};
  dir_progress_bar(0, 1, 2, 0, "top", "bottom");  // console road: draws nothing, no fault
  person_prefs();
  EXPECT_FATAL(select_alert("/x/y", 0), "changed-file question");
  EXPECT_FATAL(person_agree(), "agreement");

  person_hooks.select_alert = answer_four;
  EXPECT_EQ(select_alert("/x/y", 1), 4);
  EXPECT_EQ(asked_path, "/x/y");
  EXPECT_EQ(asked_deleting, 1);
  person_hooks = person_hooks_t{};
}

}  // namespace
