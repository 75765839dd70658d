// The decision of an installation: for every entry of sim_info, whether its
// file is fetched, deleted or left alone. A file the user has changed by hand
// is never overwritten or removed without asking.
#pragma once
#include <string>

// Sets want_down and want_del on the last row of every entry from the scan's
// sig_have. 1 when the pass went through, 0 when the user cancelled; entries
// not reached by then keep the flags they had.
int choose_files();

// One button of the changed-file question, in the order the screen tries
// them. The answer goes by position, so in the delete form the labels sit
// crossed against their answers (see select_alert_text).
struct select_alert_button {
  float x, y, w;
  const char* label;
  int answer;
};

// The whole question screen (window code select_alert_window), laid out for
// the toolkit: three text lines in colour 42 at x 20, wrapped to the window
// width less 40, and five buttons drawn with style arguments 0 and 1.
struct select_alert_form {
  const char* first;    // above the path
  const char* second;   // below it
  float first_y, path_y, second_y;
  select_alert_button buttons[5];
};
enum { select_alert_window = 997, select_alert_text_colour = 42 };

// The form for deleting 0 or not 0.
select_alert_form select_alert_layout(int deleting);
