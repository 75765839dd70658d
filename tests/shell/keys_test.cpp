// The keyboard: keysyms through keys.handle_key to codes, characters, the
// text buffer and the dialogs, without a display.
#include <X11/keysym.h>
#include <gtest/gtest.h>

#include "shell/hooks.h"
#include "shell/keys.h"
#include "shell/menus.h"
#include "shell/pump.h"
#include "shell/window.h"
#include "support.h"

namespace {

using key_calls = std::vector<std::pair<int, int>>;

class Keys : public ::testing::Test {
 protected:
  void SetUp() override {
    shell_test_reset();
    KEYS_install_hook();
    MACIBM_clear_menus(1);
    mnw.win_now = 0;
  }
  void TearDown() override { PUMP_set_time_source(nullptr); }
};

TEST_F(Keys, KeysymsBecomeCodesCharactersAndTyping) {
  // What the application hook gets (mode, character or code) and what the
  // text buffer holds after one press on "ab".
  const struct {
    KeySym sym;
    int shift, ctrl;
    key_calls app;
    const char* typed;
  } presses[] = {
      {XK_a, 0, 0, {{0, 'a'}}, "aba"},
      {XK_a, 1, 0, {{0, 'A'}}, "abA"},   // a held Shift, not Caps Lock
      {XK_a, 0, 1, {{2, 'a'}}, "aba"},
      {XK_7, 0, 0, {{0, '7'}}, "ab7"},
      {XK_1, 1, 0, {{0, '!'}}, "ab!"},
      {XK_grave, 1, 0, {{0, '~'}}, "ab~"},
      {XK_backslash, 1, 0, {{0, '|'}}, "ab|"},
      {XK_comma, 1, 0, {{0, '<'}}, "ab<"},
      {XK_slash, 1, 0, {{0, '?'}}, "ab?"},
      {XK_bracketleft, 1, 0, {{0, '{'}}, "ab{"},
      {XK_space, 1, 0, {{0, ' '}}, "ab "},
      {XK_Return, 0, 0, {{0, 13}}, "ab"},
      {XK_Tab, 0, 1, {{1, 0x3000}}, "ab"},
      {XK_Left, 0, 0, {{1, 0x7B00}}, "ab"},
      {XK_Up, 1, 0, {{1, 50000}}, "ab"},
      {XK_Right, 1, 0, {{1, 50003}}, "ab"},
      {XK_Next, 0, 0, {{1, 0xEA66}}, "ab"},
      {XK_F1, 0, 0, {{3, 50}, {0, 0}}, "ab"},
      {XK_F12, 1, 0, {{3, 73}, {0, 0}}, "ab"},
      {XK_F10, 0, 0, {{3, 59}, {0, 0}}, "a"},   // shares Insert's code, so it erases
      {XK_BackSpace, 0, 0, {{0, 0}}, "a"},
      {XK_Delete, 0, 0, {{0, 0}}, "a"},
      {XK_Insert, 0, 0, {{0, 0}}, "a"},
      // The keypad gives codes and never characters; unknown keys nothing at all.
      {XK_KP_End, 0, 0, {{1, 0x5300}}, "ab"},
      {XK_KP_Up, 1, 0, {{1, 0x5B00}}, "ab"},
      {XK_KP_1, 0, 0, {}, "ab"},
      {XK_KP_Home, 0, 0, {}, "ab"},
      {XK_odiaeresis, 0, 0, {}, "ab"},
      {XK_Caps_Lock, 0, 0, {}, "ab"},
  };
  for (const auto& p : presses) {
    const std::string at = XKeysymToString(p.sym) + std::string(p.shift ? " shift" : "") +
                           (p.ctrl ? " ctrl" : "");
    stl_input = "ab";
    app_keys_seen.clear();
    mnw.key_char = 0;
    linkey_shft = p.shift;
    linkey_ctrl = p.ctrl;
    keys.handle_key(p.sym);
    EXPECT_EQ(p.app, app_keys_seen) << at;
    EXPECT_EQ(p.typed, stl_input) << at;
    // The character of the press, if any, stays for whoever reads it.
    const int ch = p.app.empty() || p.app.back().first == 1 ? 0 : p.app.back().second;
    EXPECT_EQ(ch, mnw.key_char) << at;
  }
  stl_input.clear();
  keys.handle_key(XK_BackSpace);
  EXPECT_EQ("", stl_input);
}

TEST_F(Keys, UnknownKeysAreReportedWithAnAddressToWriteTo) {
  const child_result r = run_in_child([] {
    keys.handle_key(XK_KP_1);
    keys.handle_key(XK_odiaeresis);
    return 0;
  });
  EXPECT_NE(std::string::npos, r.out.find("Unknown key: \"KP_1\". ")) << r.out;
  EXPECT_NE(std::string::npos, r.out.find("Unknown key: \"odiaeresis\". ")) << r.out;
  EXPECT_NE(std::string::npos, r.out.find(".example")) << r.out;
}

TEST_F(Keys, FocusAndTheApplicationHook) {
  // Tab and arrows take the keyboard from a field, and so reach the
  // application; with a field focused, or in the chooser, the application
  // hears nothing, but typing goes on.
  const struct {
    int win_now, focus;
    KeySym sym;
    int focus_after;
    size_t app_calls;
    const char* typed;
  } presses[] = {
      {0, 4, XK_Tab, -1, 1, ""},    {0, 4, XK_Down, -1, 1, ""}, {0, 4, XK_Right, -1, 1, ""},
      {0, 4, XK_Prior, 4, 0, ""},   {0, 4, XK_KP_Left, 4, 0, ""}, {0, 4, XK_x, 4, 0, "x"},
      {0, -1, XK_x, -1, 1, "x"},    {999, -1, XK_x, -1, 0, "x"},
  };
  for (const auto& p : presses) {
    const std::string at = std::to_string(p.win_now) + " " + XKeysymToString(p.sym);
    mnw.win_now = p.win_now;
    mnw.text_focus = p.focus;
    stl_input.clear();
    app_keys_seen.clear();
    keys.handle_key(p.sym);
    EXPECT_EQ(p.focus_after, mnw.text_focus) << at;
    EXPECT_EQ(p.app_calls, app_keys_seen.size()) << at;
    EXPECT_EQ(p.typed, stl_input) << at;
  }
}

TEST_F(Keys, ReturnClosesADialogBeforeItsWidgetsAndNothingOnTheMainScreen) {
  // Posted through the pump: the key lands in the drain, before the screen's
  // widgets run. A dialog closes; an alert keeps return_hit for its own loop.
  // seen: return_hit as the main screen's widgets find it (-1: they don't run).
  const struct { int code, win_after, return_hit, seen; key_calls app; } cases[] = {
      {0, 0, 1, 1, {{0, 13}}}, {1, 0, 0, 0, {}}, {2, 0, 0, 0, {}}, {995, 995, 1, -1, {}}};
  for (const auto& c : cases) {
    shell_test_reset();
    KEYS_install_hook();
    MACIBM_clear_menus(1);
    mnw.win_now = c.code;
    frame_after(0.02);   // the first frame opens the window code
    stl_input = "typed";
    int seen_return = -1;
    on_app_update = [&] { seen_return = return_hit; };
    PUMP_post_key(XK_Return, 1);
    frame_after(0.02);
    EXPECT_EQ(c.win_after, mnw.win_now) << c.code;
    EXPECT_EQ(c.return_hit, return_hit) << c.code;
    EXPECT_EQ(c.app, app_keys_seen) << c.code;
    EXPECT_EQ(c.win_after != c.code ? "" : "typed", stl_input) << c.code;
    EXPECT_EQ(c.seen, seen_return) << c.code;
  }
}

}  // namespace
