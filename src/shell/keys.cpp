#include "shell/keys.h"

#include <X11/Xlib.h>

#include <cctype>
#include <cstdio>
#include <cstring>

#include "files/alert.h"
#include "files/log.h"
#include "files/mnw.h"
#include "files/xmap.h"
#include "shell/hooks.h"
#include "shell/pump.h"
#include "shell/window.h"

keys_class keys;

namespace {

struct key_row {
  const char* name;
  int code;
  int ch;
};

// Walked in this order; the first name that matches wins.
const key_row kKeyTable[] = {
    {"Return", key_return, 13},
    {"Tab", key_tab, 0},
    {"bracketright", 0, ']'},
    {"bracketleft", 0, '['},
    {"backslash", 0, '\\'},
    {"BackSpace", key_backspace, 0},
    {"space", 0, ' '},
    {"semicolon", 0, ';'},
    {"grave", 0, '`'},
    {"slash", 0, '/'},
    {"period", 0, '.'},
    {"comma", 0, ','},
    {"minus", 0, '-'},
    {"equal", 0, '='},
    {"Down", key_down, 0},
    {"Up", key_up, 0},
    {"Right", key_right, 0},
    {"Left", key_left, 0},
    {"Prior", key_prior, 0},
    {"Next", key_next, 0},
    {"F1", 0x7A00, 0},
    {"F2", 0x7800, 0},
    {"F3", 0x6300, 0},
    {"F4", 0x7600, 0},
    {"F5", 0x6000, 0},
    {"F6", 0x6100, 0},
    {"F7", 0x6200, 0},
    {"F8", 0x6400, 0},
    {"F9", 0x6500, 0},
    {"F10", 0x6D00, 0},
    {"F11", 0x6700, 0},
    {"F12", 0x6F00, 0},
    {"Insert", key_insert, 0},
    {"Delete", key_backspace, 0},
    {"KP_End", 0x5300, 0},
    {"KP_Down", 0x5400, 0},
    {"KP_Next", 0x5500, 0},
    {"KP_Left", 0x5600, 0},
    {"KP_Begin", 0x5700, 0},
    {"KP_Right", 0x5800, 0},
    {"KP_Up", 0x5B00, 0},
};

// Pairs of unshifted and shifted characters; letters are done apart.
const char kShiftPairs[][2] = {
    {'1', '!'}, {'2', '@'}, {'3', '#'}, {'4', '$'},  {'5', '%'}, {'6', '^'}, {'7', '&'},
    {'8', '*'}, {'9', '('}, {'0', ')'}, {'`', '~'},  {'\\', '|'}, {'-', '_'}, {'=', '+'},
    {'[', '{'}, {']', '}'}, {';', ':'}, {',', '<'}, {'.', '>'}, {'/', '?'},
};

bool is_arrow(int code) {
  return code == key_up || code == key_down || code == key_left || code == key_right;
}

bool is_keypad(int code) { return code >= 0x5300 && code <= 0x5B00 && (code & 0xFF) == 0; }

// Tab and the arrows take the focus away from a text field.
bool is_navigation(int code) {
  return code == key_tab || is_arrow(code) ||
         (code >= key_shift_up && code <= key_shift_right);
}

int shift_arrow(int code) {
  switch (code) {
    case key_up: return key_shift_up;
    case key_left: return key_shift_left;
    case key_down: return key_shift_down;
    case key_right: return key_shift_right;
    default: return code;
  }
}

void hook(unsigned long keysym) { keys.handle_key(keysym); }

}  // namespace

void key_lookup(const char* name, int* code, int* ch) {
  *code = key_unknown;
  *ch = 0;
  if (!name) return;
  for (const key_row& row : kKeyTable) {
    if (strcmp(row.name, name) == 0) {
      *code = row.code;
      *ch = row.ch;
      return;
    }
  }
  const unsigned char c = static_cast<unsigned char>(name[0]);
  if (c && !name[1] && isalnum(c)) {
    *code = 0;
    *ch = c;
  }
}

int key_shift_char(int ch) {
  if (ch >= 'a' && ch <= 'z') return ch - 'a' + 'A';
  for (const auto& pair : kShiftPairs)
    if (ch == pair[0]) return pair[1];
  return ch;
}

void keys_class::init() {
  xmap_class file("Resources:keys.txt");
  int versions[] = {2, 0};
  if (!file.check_file(file_type_text, versions, nullptr, nullptr))
    MACIBM_alert(0, "Cannot open the keys file!", "", "", "", alert_warning);
}

void function_key(int) {}

void keys_class::handle_key(unsigned long keysym) {
  const char* name = XKeysymToString(keysym);
  int code = 0, ch = 0;
  key_lookup(name, &code, &ch);
  if (code == key_unknown) {
    printf("Unknown key: \"%s\". Please tell us which key this was at support@vantrell.example, "
           "so that a later version knows it.\n",
           name ? name : "");
    fflush(stdout);
    return;
  }
  for (int f = 1; f <= 12; ++f) {
    char fname[4];
    snprintf(fname, sizeof(fname), "F%d", f);
    if (strcmp(name, fname) == 0) APP_handlekey(3, 49 + f + (linkey_shft ? 12 : 0));
  }

  if (linkey_shft) {
    ch = key_shift_char(ch);
    code = shift_arrow(code);
  }

  int mode = linkey_ctrl ? 2 : 0;
  if (is_navigation(code) || code == key_prior || code == key_next || is_keypad(code)) mode = 1;

  if (code == key_return) return_hit = 1;
  if (is_navigation(code)) mnw.text_focus = -1;

  // Return is the default action of a dialog: it closes it before any widget runs.
  if (mnw.subwin_on && return_hit) {
    MACIBM_handleclick(1);
    return;
  }

  if (ch) mnw.key_char = ch;
  if (mnw.win_now != 999 && mnw.text_focus < 0) APP_handlekey(mode, mode == 1 ? code : ch);

  if (is_navigation(code) || code == key_return || code == key_prior || code == key_next) return;
  if (code == key_erase || code == key_insert || code == key_backspace) {
    if (!stl_input.empty()) stl_input.pop_back();
    return;
  }
  if (ch) stl_input += static_cast<char>(ch);
}

void KEYS_install_hook() { shell_hooks.handle_key = hook; }
