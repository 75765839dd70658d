// The real window under a private Xvfb with Mesa, input sent through XTEST.
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

// A window property as X stores it: its type (None when absent), and its
// items as bytes or as longs.
struct property {
  Atom type = None;
  std::string bytes;
  std::vector<unsigned long> items;
};

property read_property(const char* name) {
  property p;
  int format = 0;
  unsigned long count = 0, after = 0;
  unsigned char* data = nullptr;
  XGetWindowProperty(dpy, win, atom(name), 0, 1 << 20, False, AnyPropertyType, &p.type, &format,
                     &count, &after, &data);
  if (format == 8) p.bytes.assign(reinterpret_cast<const char*>(data), count);
  const unsigned long* longs = reinterpret_cast<const unsigned long*>(data);
  if (format == 32) p.items.assign(longs, longs + count);
  if (data) XFree(data);
  return p;
}

const int samples_of_step[] = {0, 2, 4, 8, 16};

// A server that offers visuals of up to max_samples samples.
int max_samples;
std::vector<std::pair<int, int>> asked;   // sample buffers, samples
XVisualInfo* fake_choose(int* attrs) {
  static XVisualInfo visual;
  asked.push_back({attrs[1], attrs[3]});
  return attrs[3] <= max_samples ? &visual : nullptr;
}

TEST(VisualSearch, StepsDownFromTheRequestToTheFirstVisualOffered) {
  // Step 0 asks for no sample buffers at all; none offered at all gives -1.
  const struct { int req, max, step; std::vector<std::pair<int, int>> asked; } cases[] = {
      {4, 4, 2, {{1, 16}, {1, 8}, {1, 4}}}, {2, 0, 0, {{1, 4}, {1, 2}, {0, 0}}},
      {0, 16, 0, {{0, 0}}}, {1, -1, -1, {{1, 2}, {0, 0}}}};
  for (const auto& c : cases) {
    max_samples = c.max, asked.clear();
    XVisualInfo* found = reinterpret_cast<XVisualInfo*>(1);
    EXPECT_EQ(c.step, LIN_visual_search(c.req, fake_choose, &found)) << c.req << "/" << c.max;
    EXPECT_EQ(c.asked, asked) << c.req << "/" << c.max;
    EXPECT_EQ(c.step >= 0, found != nullptr);
  }
}

// Once the server has answered, the faked events wait in our queue.
void fake_button(int x, int y, bool down) {
  if (down) XTestFakeMotionEvent(dpy, -1, x, y, CurrentTime);
  XTestFakeButtonEvent(dpy, 1, down, CurrentTime);
  XSync(dpy, False);
}
void fake_keys(std::initializer_list<std::pair<KeySym, bool>> keys) {
  for (const auto& k : keys) XTestFakeKeyEvent(dpy, XKeysymToKeycode(dpy, k.first), k.second, 0);
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
  // The launcher's start-up id is handed on, as UTF-8 like the name.
  for (const char* name : {"_NET_WM_NAME", "_NET_STARTUP_ID"})
    EXPECT_EQ(atom("UTF8_STRING"), read_property(name).type) << name;
  EXPECT_EQ("launcher-42_TIME7", read_property("_NET_STARTUP_ID").bytes);
  // Fixed size: the window manager may not resize it.
  XSizeHints sizes;
  long supplied = 0;
  ASSERT_TRUE(XGetWMNormalHints(dpy, win, &sizes, &supplied));
  EXPECT_EQ((std::vector<int>{1024, 1024, 768, 768, CenterGravity}),
            (std::vector<int>{sizes.min_width, sizes.max_width, sizes.min_height,
                              sizes.max_height, sizes.win_gravity}));
  // A 1280 by 1024 screen matches neither side: the state is there but empty.
  EXPECT_EQ(XA_ATOM, read_property("_NET_WM_STATE").type);
  EXPECT_TRUE(read_property("_NET_WM_STATE").items.empty());
}

// Task bars read the icon as sizes one after another, each ARGB and top row
// first: a flipped or channel-swapped picture would still "work".
TEST_F(RealWindow, CarriesItsIconTopRowFirstInArgb) {
  const std::vector<unsigned long> v = read_property("_NET_WM_ICON").items;
  ASSERT_EQ(2 + 48 * 48 + 2 + 128 * 128, v.size());
  for (size_t at = 0; at < v.size(); at += 2 + v[at] * v[at + 1]) {
    const unsigned long n = v[at];
    ASSERT_EQ(n, v[at + 1]);
    auto px = [&](unsigned long x, unsigned long y_from_top) { return v[at + 2 + y_from_top * n + x]; };
    auto channel = [](unsigned long p, int shift) { return (p >> shift) & 255; };
    EXPECT_EQ(0u, channel(px(0, 0), 24)) << n;  // rounded corner
    // Blue sky at the top, the red spinner in the middle.
    const unsigned long sky = px(n / 8, n / 6), hub = px(n / 2, n / 2 + n / 30);
    EXPECT_EQ(255u, channel(hub, 24)) << n;
    EXPECT_GT(channel(sky, 0), channel(sky, 16) + 60) << n;
    EXPECT_GT(channel(hub, 16), channel(hub, 8) + 80) << n;
  }
}

TEST_F(RealWindow, VisualMatchesTheStepFoundGlStateIsFixedAndFramesPresent) {
  ASSERT_TRUE(mnw.alias_now >= 0 && mnw.alias_now <= 4);
  EXPECT_EQ(mnw.alias_now > 0, glIsEnabled(GL_MULTISAMPLE_ARB) == GL_TRUE);
  int samples = 0;
  glXGetConfig(dpy, vi, GLX_SAMPLES_ARB, &samples);
  EXPECT_GE(samples, samples_of_step[mnw.alias_now]);

  ASSERT_EQ(cx, glXGetCurrentContext());
  // The state the drawing code counts on: tight rows for odd-width glyph
  // uploads, clockwise faces, and no depth writes.
  const std::pair<GLenum, GLint> state[] = {
      {GL_UNPACK_ALIGNMENT, 1}, {GL_FRONT_FACE, GL_CW}, {GL_DEPTH_WRITEMASK, 0}};
  for (const auto& e : state) {
    GLint v = -1;
    glGetIntegerv(e.first, &v);
    EXPECT_EQ(e.second, v) << std::hex << e.first;
  }
  EXPECT_EQ(GL_NO_ERROR, glGetError());

  // A frame presents what was drawn, as a screenshot reads the window back.
  glViewport(0, 0, 1024, 768);
  glClearColor(0, 1, 0, 1);
  glClear(GL_COLOR_BUFFER_BIT);
  frame_after(0.02);
  XImage* image = XGetImage(dpy, win, 10, 10, 1, 1, AllPlanes, ZPixmap);
  ASSERT_NE(nullptr, image);
  EXPECT_EQ(0x00ff00u, XGetPixel(image, 0, 0) & 0xffffffu);
  XDestroyImage(image);
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

  // Shift is kept as a flag; the keysym is always the unshifted one.
  static std::vector<unsigned long> keys;
  keys.clear();
  shell_hooks.handle_key = [](unsigned long keysym) { keys.push_back(keysym); };
  fake_keys({{XK_Shift_L, true}, {XK_a, true}});
  frame_after(0.02);
  EXPECT_EQ((std::vector<int>{1, 1}), (std::vector<int>{linkey_shft, mnw.key_hit}));
  fake_keys({{XK_a, false}, {XK_Shift_L, false}, {XK_F5, true}, {XK_F5, false}});
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

}  // namespace
