// The real window under a private Xvfb with Mesa: properties, GL state,
// visual search, and input sent through XTEST.
#include <gtest/gtest.h>

#include <GL/gl.h>
#include <GL/glext.h>
#include <X11/Xatom.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

#include <cstdlib>
#include <cstring>

#include "shell/hooks.h"
#include "shell/pump.h"
#include "shell/window.h"
#include "support.h"
#include "xvfb.h"

namespace {

// A window property as X stores it: its type, and its items (bytes or longs).
struct property {
  bool present = false;
  Atom type = 0;
  std::string bytes;
  std::vector<unsigned long> items;
};

property read_property(const char* name) {
  property p;
  int format = 0;
  unsigned long count = 0, after = 0;
  unsigned char* data = nullptr;
  if (XGetWindowProperty(dpy, win, XInternAtom(dpy, name, False), 0, 256, False,
                         AnyPropertyType, &p.type, &format, &count, &after, &data) == Success &&
      p.type != None) {
    p.present = true;
    if (format == 8) p.bytes.assign(reinterpret_cast<const char*>(data), count);
    for (unsigned long i = 0; format == 32 && i < count; ++i)
      p.items.push_back(static_cast<unsigned long>(reinterpret_cast<const long*>(data)[i]));
  }
  if (data) XFree(data);
  return p;
}

std::vector<unsigned long> atom_list(const char* name) { return read_property(name).items; }

unsigned long atom(const char* name) { return XInternAtom(dpy, name, False); }

// The highest step of the search whose sample count some visual of the server offers.
int expected_alias_step(int requested) {
  const int samples_of_step[] = {0, 2, 4, 8, 16};
  XVisualInfo tmpl;
  tmpl.screen = DefaultScreen(dpy);
  int n = 0;
  XVisualInfo* list = XGetVisualInfo(dpy, VisualScreenMask, &tmpl, &n);
  int best = 0;
  for (int step = requested; step > 0 && !best; --step)
    for (int i = 0; i < n; ++i) {
      int rgba = 0, dbl = 0, bufs = 0, samples = 0;
      glXGetConfig(dpy, &list[i], GLX_RGBA, &rgba);
      glXGetConfig(dpy, &list[i], GLX_DOUBLEBUFFER, &dbl);
      glXGetConfig(dpy, &list[i], GLX_SAMPLE_BUFFERS_ARB, &bufs);
      glXGetConfig(dpy, &list[i], GLX_SAMPLES_ARB, &samples);
      if (rgba && dbl && bufs >= 1 && samples >= samples_of_step[step]) {
        best = step;
        break;
      }
    }
  if (list) XFree(list);
  return best;
}

void fake_click_at(int x, int y, unsigned button) {
  XTestFakeMotionEvent(dpy, -1, x, y, CurrentTime);
  XTestFakeButtonEvent(dpy, button, True, CurrentTime);
  // Once the server has answered, the events wait in our queue.
  XSync(dpy, False);
}

void fake_release(unsigned button) {
  XTestFakeButtonEvent(dpy, button, False, CurrentTime);
  XSync(dpy, False);
}

class RealWindow : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    server = new xvfb_class;
    ASSERT_TRUE(server->start(1280, 1024)) << "Xvfb did not start";
    shell_test_reset();
    setenv("DESKTOP_STARTUP_ID", "launcher-42_TIME7", 1);
    mnw.alias_req = 4;
    MACIBM_setres(1);
    ASSERT_EQ(1, MACIBM_make_context(0));
    unsetenv("DESKTOP_STARTUP_ID");
  }
  static void TearDownTestSuite() {
    delete server;
    server = nullptr;
  }
  void SetUp() override {
    ASSERT_NE(nullptr, dpy);
    const int alias = mnw.alias_now;
    shell_test_reset();
    mnw.alias_now = alias;
    frame_after(0);   // opens the main screen
    for (int i = 0; i < 5; ++i) frame_after(0.2);
  }
  static xvfb_class* server;
};
xvfb_class* RealWindow::server = nullptr;

TEST_F(RealWindow, OpensAtTheLayoutSizeWithNamesHintsAndEwmhProperties) {
  Window root;
  int x = 0, y = 0;
  unsigned w = 0, h = 0, border = 0, depth = 0;
  XGetGeometry(dpy, win, &root, &x, &y, &w, &h, &border, &depth);
  EXPECT_EQ(1024u, w);
  EXPECT_EQ(768u, h);
  EXPECT_EQ(0u, border);

  XClassHint hint;
  ASSERT_TRUE(XGetClassHint(dpy, win, &hint));
  EXPECT_STREQ("main_window", hint.res_name);
  EXPECT_STREQ("Zephyra", hint.res_class);
  XFree(hint.res_name);
  XFree(hint.res_class);

  char* name = nullptr;
  ASSERT_TRUE(XFetchName(dpy, win, &name));
  EXPECT_STREQ("Cirrovan", name);
  XFree(name);
  const Atom utf8 = XInternAtom(dpy, "UTF8_STRING", False);
  EXPECT_EQ("Cirrovan", read_property("_NET_WM_NAME").bytes);
  EXPECT_EQ(utf8, read_property("_NET_WM_NAME").type);
  EXPECT_EQ("launcher-42_TIME7", read_property("_NET_STARTUP_ID").bytes);
  EXPECT_EQ(utf8, read_property("_NET_STARTUP_ID").type);

  XSizeHints sizes;
  long supplied = 0;
  ASSERT_TRUE(XGetWMNormalHints(dpy, win, &sizes, &supplied));
  EXPECT_EQ(560, sizes.flags);
  EXPECT_EQ(1024, sizes.min_width);
  EXPECT_EQ(1024, sizes.max_width);
  EXPECT_EQ(768, sizes.min_height);
  EXPECT_EQ(768, sizes.max_height);
  EXPECT_EQ(CenterGravity, sizes.win_gravity);

  EXPECT_EQ(std::vector<unsigned long>{atom("_NET_WM_WINDOW_TYPE_NORMAL")},
            atom_list("_NET_WM_WINDOW_TYPE"));
  EXPECT_EQ((std::vector<unsigned long>{atom("_NET_WM_ACTION_CLOSE"),
                                        atom("_NET_WM_ACTION_FULLSCREEN"),
                                        atom("_NET_WM_ACTION_MOVE")}),
            atom_list("_NET_WM_ALLOWED_ACTIONS"));
  // A 1280 by 1024 screen matches neither side: the state is there but empty.
  EXPECT_TRUE(read_property("_NET_WM_STATE").present);
  EXPECT_TRUE(atom_list("_NET_WM_STATE").empty());

  XWindowAttributes attr;
  XGetWindowAttributes(dpy, win, &attr);
  EXPECT_EQ(729167, attr.your_event_mask);
  EXPECT_EQ(IsViewable, attr.map_state);
}

TEST_F(RealWindow, VisualSearchEndsOnTheStepTheServerOffers) {
  EXPECT_EQ(expected_alias_step(4), mnw.alias_now);
  RecordProperty("alias_now", mnw.alias_now);
  EXPECT_EQ(mnw.alias_now > 0, glIsEnabled(GL_MULTISAMPLE_ARB) == GL_TRUE);
  int samples = 0;
  glXGetConfig(dpy, vi, GLX_SAMPLES_ARB, &samples);
  const int samples_of_step[] = {0, 2, 4, 8, 16};
  EXPECT_GE(samples, samples_of_step[mnw.alias_now]);
  int dbl = 0;
  glXGetConfig(dpy, vi, GLX_DOUBLEBUFFER, &dbl);
  EXPECT_EQ(1, dbl);
}

TEST_F(RealWindow, FixedGlStateIsInPlace) {
  ASSERT_EQ(cx, glXGetCurrentContext());
  auto get = [](GLenum e) {
    GLint v = -1;
    glGetIntegerv(e, &v);
    return v;
  };
  EXPECT_EQ(1, get(GL_UNPACK_ALIGNMENT));
  EXPECT_EQ(1, get(GL_PACK_ALIGNMENT));
  EXPECT_EQ(GL_GREATER, get(GL_ALPHA_TEST_FUNC));
  GLfloat ref = -1;
  glGetFloatv(GL_ALPHA_TEST_REF, &ref);
  EXPECT_EQ(0.0f, ref);
  EXPECT_EQ(GL_SRC_ALPHA, get(GL_BLEND_SRC));
  EXPECT_EQ(GL_ONE_MINUS_SRC_ALPHA, get(GL_BLEND_DST));
  EXPECT_EQ(GL_LEQUAL, get(GL_DEPTH_FUNC));
  EXPECT_EQ(GL_LINEAR, get(GL_FOG_MODE));
  EXPECT_EQ(GL_FASTEST, get(GL_FOG_HINT));
  EXPECT_EQ(GL_CW, get(GL_FRONT_FACE));
  EXPECT_EQ(GL_BACK, get(GL_CULL_FACE_MODE));
  EXPECT_EQ(GL_SMOOTH, get(GL_SHADE_MODEL));
  EXPECT_EQ(GL_FRONT, get(GL_COLOR_MATERIAL_FACE));
  EXPECT_EQ(GL_AMBIENT_AND_DIFFUSE, get(GL_COLOR_MATERIAL_PARAMETER));
  EXPECT_EQ(GL_FALSE, get(GL_DEPTH_WRITEMASK));
  for (GLenum on : {GL_CULL_FACE, GL_DITHER, GL_COLOR_MATERIAL}) EXPECT_TRUE(glIsEnabled(on)) << on;
  for (GLenum off : {GL_COLOR_LOGIC_OP, GL_STENCIL_TEST, GL_TEXTURE_1D, GL_NORMALIZE,
                     GL_SCISSOR_TEST})
    EXPECT_FALSE(glIsEnabled(off)) << off;
  GLfloat ambient[4] = {1, 1, 1, 1};
  glGetFloatv(GL_LIGHT_MODEL_AMBIENT, ambient);
  for (GLfloat a : ambient) EXPECT_EQ(0.0f, a);
  EXPECT_EQ(GL_NO_ERROR, glGetError());
}

TEST_F(RealWindow, ASyntheticClickIsSeenForExactlyOneFrame) {
  std::vector<int> clicks;
  on_app_update = [&] { clicks.push_back(mnw.mouse_click); };
  fake_click_at(500, 300, 1);
  for (int i = 0; i < 4; ++i) frame_after(0.02);
  EXPECT_EQ((std::vector<int>{1, 0, 0, 0}), clicks);
  EXPECT_FLOAT_EQ(500, mnw.mouse_x);
  EXPECT_FLOAT_EQ(768 - 300, mnw.mouse_y);
  EXPECT_EQ(1, mnw.mouse_down);
  fake_release(1);
  frame_after(0.02);
  EXPECT_EQ(1, mnw.mouse_release);
  EXPECT_EQ(0, mnw.mouse_down);

  // The wheel is a button like any other.
  clicks.clear();
  fake_click_at(510, 300, 4);
  fake_release(4);
  frame_after(0.02);
  frame_after(0.02);
  EXPECT_EQ((std::vector<int>{1, 0}), clicks);
}

TEST_F(RealWindow, CloseCornerClosesTheDialogBeforeAnyWidgetSeesThePress) {
  MACIBM_startwind(1);   // 500 by 300 at 262, 234
  std::vector<int> clicks;
  on_app_update = [&] { clicks.push_back(mnw.mouse_click); };
  // The top right corner, in screen pixels from the top left.
  fake_click_at(262 + 490, 768 - 234 - 295, 1);
  frame_after(0.02);
  EXPECT_EQ(0, mnw.win_now);
  EXPECT_EQ(0, mnw.subwin_on);
  EXPECT_EQ((std::vector<int>{0}), clicks);
  fake_release(1);
  frame_after(0.02);

  // Elsewhere in the dialog the press stays for the dialog's own widgets.
  MACIBM_startwind(1);
  fake_click_at(262 + 250, 768 - 234 - 150, 1);
  frame_after(0.02);
  EXPECT_EQ(1, mnw.win_now);
  EXPECT_EQ(1, mnw.mouse_click);
  fake_release(1);
  frame_after(0.02);
}

TEST_F(RealWindow, KeyPressReachesTheKeyboardWithItsUnshiftedKeysym) {
  static std::vector<unsigned long> seen;
  seen.clear();
  shell_hooks.handle_key = [](unsigned long keysym) { seen.push_back(keysym); };
  auto key = [](KeySym sym, bool down) {
    XTestFakeKeyEvent(dpy, XKeysymToKeycode(dpy, sym), down, CurrentTime);
    XSync(dpy, False);
  };
  key(XK_a, true);
  frame_after(0.02);
  EXPECT_EQ(1, mnw.key_hit);
  key(XK_a, false);
  key(XK_Shift_L, true);
  key(XK_a, true);
  frame_after(0.02);
  EXPECT_EQ(1, linkey_shft);
  EXPECT_EQ(1, mnw.key_down);
  key(XK_a, false);
  key(XK_Shift_L, false);
  key(XK_F5, true);
  key(XK_F5, false);
  frame_after(0.02);
  EXPECT_EQ(0, linkey_shft);
  EXPECT_EQ(0, mnw.key_down);
  // Shift is kept as a flag; the keysym is always the unshifted one.
  EXPECT_EQ((std::vector<unsigned long>{XK_a, XK_a, XK_F5}), seen);
}

TEST_F(RealWindow, CursorHidesAfterTenStillSecondsAndComesBackOnMotion) {
  XTestFakeMotionEvent(dpy, -1, 300, 300, CurrentTime);
  XSync(dpy, False);
  frame_after(0.02);
  EXPECT_TRUE(PUMP_cursor_showing());
  frame_after(9.9);
  EXPECT_TRUE(PUMP_cursor_showing());
  frame_after(0.2);
  EXPECT_FALSE(PUMP_cursor_showing());
  EXPECT_EQ(1, mnw.hide_cursor);
  XTestFakeMotionEvent(dpy, -1, 320, 300, CurrentTime);
  XSync(dpy, False);
  frame_after(0.02);
  EXPECT_TRUE(PUMP_cursor_showing());
  EXPECT_FLOAT_EQ(320, mnw.mouse_x);
}

TEST_F(RealWindow, UncoveringTheWindowRestartsItsScreen) {
  MACIBM_startwind(2);
  mnw.text_focus = 3;
  mnw.menu_open = 7;
  XUnmapWindow(dpy, win);
  XMapWindow(dpy, win);
  XSync(dpy, False);
  for (int i = 0; i < 5; ++i) frame_after(0.02);
  EXPECT_EQ(2, mnw.win_now);
  EXPECT_EQ(-1, mnw.text_focus);
  EXPECT_EQ(-1, mnw.menu_open);
  MACIBM_startwind(0);
}

TEST_F(RealWindow, FramePresentsWhatWasDrawn) {
  glViewport(0, 0, 1024, 768);
  glClearColor(0, 1, 0, 1);
  glClear(GL_COLOR_BUFFER_BIT);
  frame_after(0.02);
  XSync(dpy, False);
  // Read the window back from the server, as a screenshot would.
  XImage* image = XGetImage(dpy, win, 10, 10, 1, 1, AllPlanes, ZPixmap);
  ASSERT_NE(nullptr, image);
  const unsigned long pixel = XGetPixel(image, 0, 0);
  XDestroyImage(image);
  EXPECT_EQ(0x00ff00u, pixel & 0xffffffu);
}

// Runs a whole start of the program against a server of the given size, in a
// child, so its one-time statics and its display are its own.
child_result with_screen(int width, int height, const std::function<int()>& body) {
  return run_in_child([=] {
    xvfb_class own;
    dpy = nullptr;   // the parent's connection is not ours to use
    win = 0;
    cx = nullptr;
    if (!own.start(width, height)) return 99;
    shell_test_reset();
    int code = body();
    own.stop();
    return code;
  });
}

TEST(WindowScreens, FullWidthOfTheScreenIsEnoughToAskForFullScreen) {
  child_result r = with_screen(1024, 900, [] {
    MACIBM_setres(1);
    MACIBM_make_context(0);
    const auto state = atom_list("_NET_WM_STATE");
    return state == std::vector<unsigned long>{atom("_NET_WM_STATE_FULLSCREEN")} ? 0 : 1;
  });
  EXPECT_EQ(0, r.exit_code) << r.out;
  // The screen was big enough, so nothing was resized or printed.
  EXPECT_EQ(std::string::npos, r.out.find(" vs "));
}

TEST(WindowScreens, SmallScreenForcesTheResizePathButKeepsTheLayoutSize) {
  child_result r = with_screen(800, 600, [] {
    MACIBM_setres(1);   // no window yet: only the line
    MACIBM_make_context(0);
    MACIBM_setres(1);   // now the hints and the resize
    XSync(dpy, False);
    Window root;
    int x = 0, y = 0;
    unsigned w = 0, h = 0, b = 0, d = 0;
    XGetGeometry(dpy, win, &root, &x, &y, &w, &h, &b, &d);
    if (w != 1024 || h != 768) return 2;
    return atom_list("_NET_WM_STATE").empty() ? 0 : 3;
  });
  EXPECT_EQ(0, r.exit_code) << r.out;
  EXPECT_NE(std::string::npos, r.out.find("800 vs 1024 X 600 vs 768\n800 vs 1024 X 600 vs 768\n"))
      << r.out;
}

}  // namespace
