#include "toolkit/chooser.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstring>

#include "files/alert.h"
#include "files/listing.h"
#include "files/mnw.h"
#include "shell/pump.h"
#include "shell/window.h"
#include "toolkit/controls.h"
#include "toolkit/draw.h"
#include "toolkit/frames.h"
#include "toolkit/text.h"

namespace {

const int kChooserWindow = 998;
const int kMaxParts = 298;     // what the pop-up list can hold
const size_t kResultSize = 2048;
const float kStairStep = 12;

// The folders of path from the root down, "/" first.
int path_parts(const std::string& path, std::string parts[]) {
  int n = 0;
  parts[n++] = "/";
  size_t start = 0;
  while (start < path.size() && n < kMaxParts) {
    size_t end = path.find('/', start);
    if (end == std::string::npos) end = path.size();
    if (end > start) parts[n++] = path.substr(start, end - start);
    start = end + 1;
  }
  return n;
}

// The path down to and including level (0 is the root).
std::string path_to_level(const std::string parts[], int level) {
  std::string p = "/";
  for (int i = 1; i <= level; ++i) p += parts[i] + "/";
  return p;
}

// Items of the pop-up: a blank inside a name would split it, and "|" is
// reserved for labels.
std::string popup_items(const std::string parts[], int n) {
  std::string items;
  for (int i = 0; i < n; ++i) {
    std::string item = parts[i];
    for (char& c : item) c = c == ' ' ? '-' : c == '|' ? '!' : c;
    items += (i ? " " : "") + item;
  }
  return items;
}

void draw_staircase(const std::string parts[], int n) {
  for (int i = 0; i < n; ++i) {
    std::string shown = parts[i];
    std::replace(shown.begin(), shown.end(), '-', ' ');
    const float y = 405 - i * kStairStep;
    OGL_string(46, 435 - y, y, shown, 9999, 100);
  }
}

void draw_name_field() {
  BTN_frame1(9, 160, 52, 280, 0);
  if (stl_input.size() > 30) stl_input.resize(30);
  const float caret_x = 25 + text_width(stl_input) + 1;
  OGL_line(44, mnw.pulse, caret_x, 48, caret_x, 55);
  OGL_string(44, 25, 49, stl_input, 440, 100);
}

void copy_result(const std::string& path, char* result) {
  size_t skip = 0;
  while (skip + 1 < path.size() && path[skip] == '/' && path[skip + 1] == '/') ++skip;
  const size_t n = std::min(path.size() - skip, kResultSize - 1);
  memcpy(result, path.data() + skip, n);
  result[n] = 0;
}

void bad_arg(const char* what, const char* form) {
  MACIBM_alert(0, std::string("Bad ") + what + " arg to " + form + "!", "", "", "", alert_fatal);
}

// The argument checks shared by both field forms, in the order they are told.
void check_select_args(int open_save, int file_path, int file_type, const char* form) {
  if (open_save != 998 && open_save != 999) bad_arg("open_save", form);
  if (file_path != 0 && file_path != 1) bad_arg("file_path", form);
  if (file_type < 0 || file_type > 17) bad_arg("file_type", form);
}

// The field and its browse button; 1 when the chooser gave a new path.
int select_file(float x, float y, int open_save, int file_type, std::string* path,
                const std::string& label) {
  const float width = 200;
  OGL_boxed_string(x, y, *path, width, label);
  if (!BTN_action(x + width + 30, y + 3, 0, 0, 1, "Browse")) return 0;
  char result[kResultSize];
  if (!GetFilePathFromUser(open_save == 999 ? 1 : 2, label.c_str(), "Select", file_type,
                           path->c_str(), result))
    return 0;
  *path = result;
  return 1;
}

}  // namespace

int GetFilePathFromUser(int, const char*, const char*, int, const char* start, char* result) {
  static int plevel = 0;
  if (start) {
    wrk_path = start;
    if (wrk_path.empty() || wrk_path.back() != '/') wrk_path += '/';
  }
  const int came_from = mnw.win_now;
  int selected = opensave_getitems(1) / 2;
  int top = selected;
  MACIBM_startwind(kChooserWindow);

  static std::string parts[kMaxParts];
  while (mnw.win_now == kChooserWindow) {
    OGL_plot_back_col();
    BTN_fillwin(1, 21);

    // Listed anew each frame, so a folder made meanwhile simply appears.
    const int count = opensave_getitems(1);
    const int list_hit =
        BTN_big_name_list(kChooserWindow, 0, 20, 180, 0, 0, &top, &selected, count);

    BTN_frame2(15, 20, 300, 280, 120, "");
    const int n = path_parts(wrk_path, parts);
    draw_staircase(parts, n);

    draw_name_field();

    if (BTN_action(240, 28, 0, 0, 1, "New Folder"))
      mkdir((wrk_path + stl_input).c_str(), 0777);   // a failure shows as no new row

    plevel = n - 1;
    if (BTN_textlist(mnw.win_dx * 0.5f, 438, &plevel, popup_items(parts, n), "") && plevel >= 0 &&
        plevel < n)
      wrk_path = path_to_level(parts, plevel);

    if ((list_hit || return_hit) && selected >= 0 && selected < count &&
        g_file_type[selected] == 1) {
      wrk_path += g_file[selected];
      selected = opensave_getitems(1) / 2;
    }

    if (BTN_action(45, 28, 0, 0, 1, "Cancel")) {
      MACIBM_startwind(came_from);
      return 0;
    }
    if (BTN_action(115, 28, 0, 0, 1, "Select")) {
      copy_result(wrk_path, result);
      MACIBM_startwind(came_from);
      return 1;
    }
    MACIBM_event_proc();
  }
  return 0;
}

int BTN_select_file_stl(float x, float y, int open_save, int file_path, int file_type,
                        std::string* path, const std::string& label) {
  check_select_args(open_save, file_path, file_type, "BTN_select_file_stl");
  return select_file(x, y, open_save, file_type, path, label);
}

int BTN_select_file_chr(float x, float y, int open_save, int file_path, int file_type,
                        char* path, const std::string& label) {
  check_select_args(open_save, file_path, file_type, "BTN_select_file_chr");
  std::string s = path;
  if (!select_file(x, y, open_save, file_type, &s, label)) return 0;
  strncpy(path, s.c_str(), kResultSize - 1);
  path[kResultSize - 1] = 0;
  return 1;
}
