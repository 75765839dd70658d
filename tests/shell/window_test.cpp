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

#include "shell/hooks.h"
#include "shell/pump.h"
#include "shell/window.h"
#include "support.h"
#include "xvfb.h"

namespace {

unsigned long atom(const char* name) { return XInternAtom(dpy, name, False); }

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
  p.present = XGetWindowProperty(dpy, win, atom(name), 0, 256, False, AnyPropertyType, &p.type,
                                 &format, &count, &after, &data) == Success && p.type != None;
  if (p.present && format == 8) p.bytes.assign(reinterpret_cast<const char*>(data), count);
  for (unsigned long i = 0; p.present && format == 32 && i < count; ++i)
    p.items.push_back(static_cast<unsigned long>(reinterpret_cast<const long*>(data)[i]));
  if (data) XFree(data);
  return p;
}

const int samples_of_step[] = {0, 2, 4, 8, 16};

// The highest step of the search, from the one asked for down, whose sample
// count some double-buffered RGBA visual of the server offers.
int expected_alias_step(int requested) {
  XVisualInfo tmpl;
  tmpl.screen = DefaultScreen(dpy);
  int n = 0, best = 0;
  XVisualInfo* list = XGetVisualInfo(dpy, VisualScreenMask, &tmpl, &n);
  for (int i = 0; i < n; ++i) {
    int rgba = 0, dbl = 0, bufs = 0, samples = 0;
    glXGetConfig(dpy, &list[i], GLX_RGBA, &rgba);
    glXGetConfig(dpy, &list[i], GLX_DOUBLEBUFFER, &dbl);
    glXGetConfig(dpy, &list[i], GLX_SAMPLE_BUFFERS_ARB, &bufs);
    glXGetConfig(dpy, &list[i], GLX_SAMPLES_ARB, &samples);
    for (int step = requested; step > best && rgba && dbl && bufs >= 1; --step)
      if (samples >= samples_of_step[step]) best = step;
  }
  if (list) XFree(list);
  return best;
}

// Once the server has answered, the faked events wait in our queue.
void fake_button(int x, int y, bool down) {
  if (down) XTestFakeMotionEvent(dpy, -1, x, y, CurrentTime);
  XTestFakeButtonEvent(dpy, 1, down, CurrentTime);
  XSync(dpy, False);
}

void fake_key(KeySym sym, bool down) {
  XTestFakeKeyEvent(dpy, XKeysymToKeycode(dpy, sym), down, CurrentTime);
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
  static void TearDownTestSuite() { delete server; }
  void SetUp() override {
    ASSERT_NE(nullptr, dpy);
    const int alias = mnw.alias_now;
    shell_test_reset();
    mnw.alias_now = alias;
    for (int i = 0; i < 6; ++i) frame_after(i ? 0.2 : 0);   // the first opens the main screen
  }
  static xvfb_class* server;
};
xvfb_class* RealWindow::server = nullptr;

TEST_F(RealWindow, OpensAtTheLayoutSizeWithNamesHintsAndEwmhProperties) {
  XWindowAttributes attr;
  XGetWindowAttributes(dpy, win, &attr);
  EXPECT_EQ((std::vector<int>{1024, 768, IsViewable}),
            (std::vector<int>{attr.width, attr.height, attr.map_state}));
  XClassHint hint;
  ASSERT_TRUE(XGetClassHint(dpy, win, &hint));
  EXPECT_EQ("main_window/Zephyra", std::string(hint.res_name) + "/" + hint.res_class);
  XFree(hint.res_name);
  XFree(hint.res_class);
  char* name = nullptr;
  ASSERT_TRUE(XFetchName(dpy, win, &name));
  EXPECT_STREQ("Cirrovan", name);
  XFree(name);
  const std::pair<const char*, const char*> texts[] = {{"_NET_WM_NAME", "Cirrovan"},
                                                       {"_NET_STARTUP_ID", "launcher-42_TIME7"}};
  for (const auto& t : texts) {
    EXPECT_EQ(atom("UTF8_STRING"), read_property(t.first).type) << t.first;
    EXPECT_EQ(t.second, read_property(t.first).bytes);
  }
  // Fixed size: the window manager may not resize it.
  XSizeHints sizes;
  long supplied = 0;
  ASSERT_TRUE(XGetWMNormalHints(dpy, win, &sizes, &supplied));
  EXPECT_EQ((std::vector<int>{1024, 1024, 768, 768, CenterGravity}),
            (std::vector<int>{sizes.min_width, sizes.max_width, sizes.min_height,
                              sizes.max_height, sizes.win_gravity}));
  EXPECT_EQ(std::vector<unsigned long>{atom("_NET_WM_WINDOW_TYPE_NORMAL")},
            read_property("_NET_WM_WINDOW_TYPE").items);
  EXPECT_EQ((std::vector<unsigned long>{atom("_NET_WM_ACTION_CLOSE"),
                                        atom("_NET_WM_ACTION_FULLSCREEN"),
                                        atom("_NET_WM_ACTION_MOVE")}),
            read_property("_NET_WM_ALLOWED_ACTIONS").items);
  // A 1280 by 1024 screen matches neither side: the state is there but empty.
  EXPECT_TRUE(read_property("_NET_WM_STATE").present);
  EXPECT_TRUE(read_property("_NET_WM_STATE").items.empty());
}

TEST_F(RealWindow, VisualSearchFallsBackToTheServersStepAndGlStateIsFixed) {
  EXPECT_EQ(expected_alias_step(4), mnw.alias_now);
  EXPECT_EQ(mnw.alias_now > 0, glIsEnabled(GL_MULTISAMPLE_ARB) == GL_TRUE);
  int samples = 0;
  glXGetConfig(dpy, vi, GLX_SAMPLES_ARB, &samples);
  EXPECT_GE(samples, samples_of_step[mnw.alias_now]);

  ASSERT_EQ(cx, glXGetCurrentContext());
  const std::pair<GLenum, GLint> state[] = {
      {GL_UNPACK_ALIGNMENT, 1},         {GL_PACK_ALIGNMENT, 1},
      {GL_ALPHA_TEST_FUNC, GL_GREATER}, {GL_BLEND_SRC, GL_SRC_ALPHA},
      {GL_BLEND_DST, GL_ONE_MINUS_SRC_ALPHA}, {GL_DEPTH_FUNC, GL_LEQUAL},
      {GL_FOG_MODE, GL_LINEAR},         {GL_FOG_HINT, GL_FASTEST},
      {GL_FRONT_FACE, GL_CW},           {GL_CULL_FACE_MODE, GL_BACK},
      {GL_SHADE_MODEL, GL_SMOOTH},      {GL_COLOR_MATERIAL_FACE, GL_FRONT},
      {GL_COLOR_MATERIAL_PARAMETER, GL_AMBIENT_AND_DIFFUSE}, {GL_DEPTH_WRITEMASK, GL_FALSE},
      {GL_CULL_FACE, 1},   {GL_DITHER, 1},       {GL_COLOR_MATERIAL, 1}, {GL_COLOR_LOGIC_OP, 0},
      {GL_STENCIL_TEST, 0}, {GL_TEXTURE_1D, 0}, {GL_NORMALIZE, 0},      {GL_SCISSOR_TEST, 0}};
  for (const auto& e : state) {
    GLint v = -1;
    glGetIntegerv(e.first, &v);
    EXPECT_EQ(e.second, v) << std::hex << e.first;
  }
  GLfloat ambient[4] = {1, 1, 1, 1}, ref = -1;
  glGetFloatv(GL_LIGHT_MODEL_AMBIENT, ambient);
  glGetFloatv(GL_ALPHA_TEST_REF, &ref);
  EXPECT_EQ(0.0f, ambient[0] + ambient[1] + ambient[2] + ambient[3] + ref);
  EXPECT_EQ(GL_NO_ERROR, glGetError());
}

TEST_F(RealWindow, InputFromTheServerReachesTheFrames) {
  // A click is seen for exactly one frame; X counts y from the top.
  std::vector<int> clicks;
  on_app_update = [&] { clicks.push_back(mnw.mouse_click); };
  fake_button(500, 300, true);
  for (int i = 0; i < 3; ++i) frame_after(0.02);
  EXPECT_EQ((std::vector<int>{1, 0, 0}), clicks);
  EXPECT_EQ((std::vector<float>{500, 768 - 300, 1}),
            (std::vector<float>{mnw.mouse_x, mnw.mouse_y, float(mnw.mouse_down)}));
  fake_button(0, 0, false);
  frame_after(0.02);
  EXPECT_EQ(1, mnw.mouse_release);

  // A dialog's close corner takes the press before any widget sees it.
  MACIBM_startwind(1);   // 500 by 300 at 262, 234
  fake_button(262 + 490, 768 - 234 - 295, true);
  frame_after(0.02);
  EXPECT_EQ(0, mnw.win_now);
  EXPECT_EQ(0, clicks.back());
  fake_button(0, 0, false);

  // Shift is kept as a flag; the keysym is always the unshifted one.
  static std::vector<unsigned long> keys;
  keys.clear();
  shell_hooks.handle_key = [](unsigned long keysym) { keys.push_back(keysym); };
  fake_key(XK_Shift_L, true);
  fake_key(XK_a, true);
  frame_after(0.02);
  EXPECT_EQ(1, linkey_shft);
  EXPECT_EQ(1, mnw.key_hit);
  for (KeySym k : {XK_a, XK_Shift_L}) fake_key(k, false);
  fake_key(XK_F5, true);
  fake_key(XK_F5, false);
  frame_after(0.02);
  EXPECT_EQ(0, linkey_shft);
  EXPECT_EQ((std::vector<unsigned long>{XK_a, XK_F5}), keys);

  // The cursor hides after 10 s without motion and comes back on motion.
  frame_after(9.9);
  EXPECT_TRUE(PUMP_cursor_showing());
  frame_after(0.2);
  EXPECT_FALSE(PUMP_cursor_showing());
  XTestFakeMotionEvent(dpy, -1, 320, 300, CurrentTime);
  XSync(dpy, False);
  frame_after(0.02);
  EXPECT_TRUE(PUMP_cursor_showing());
}

TEST_F(RealWindow, FramePresentsWhatWasDrawn) {
  glViewport(0, 0, 1024, 768);
  glClearColor(0, 1, 0, 1);
  glClear(GL_COLOR_BUFFER_BIT);
  frame_after(0.02);
  // Read the window back from the server, as a screenshot would.
  XImage* image = XGetImage(dpy, win, 10, 10, 1, 1, AllPlanes, ZPixmap);
  ASSERT_NE(nullptr, image);
  EXPECT_EQ(0x00ff00u, XGetPixel(image, 0, 0) & 0xffffffu);
  XDestroyImage(image);
}

}  // namespace
