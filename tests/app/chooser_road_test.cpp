// A user's whole road through the installer's window, from outside: the real
// program under its own Xvfb, driven by XTEST, installing from a mirror made
// by zephyra-publish and served by nginx. Choices made on the preferences
// screen must reach the preference file written at shutdown.
#include <gtest/gtest.h>   // before Xlib, which defines None

#include <X11/extensions/XTest.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>

#include "../net/net_support.h"
#include "install/preferences.h"
#include "install/stage.h"
#include "screens_support.h"
#include "toolkit/text.h"
#include "window_driver.h"
#include "xvfb.h"

namespace {

bool wait(const std::function<bool()>& seen) { return window_driver_class::wait_until(seen, 30); }
int sum(window_rgb c) { return c.r + c.g + c.b; }

class ChooserRoad : public ::testing::Test {
 protected:
  net_test::scratch tmp;
  net_test::nginx_server server{tmp.file("nginx")};
  xvfb_class xvfb;
  std::unique_ptr<window_driver_class> w;
  std::string product = tmp.file("product/Zephyra"), home = tmp.file("home"), bin = tmp.file("bin/zi");
  std::string prefs;
  pid_t app = -1;

  void SetUp() override {
    ASSERT_TRUE(server.running() && xvfb.start(1024, 768)) << server.error;
    sh("mkdir -p '" + home + "/.zephyra' '" + product + "' && cd '" + product +
       "' && mkdir Airfoils Instructions Output Resources && echo wing > Airfoils/wing.afl && echo me > "
       "'Instructions/Read Me.txt' && echo log > Output/log.txt && head -c 300000 /dev/urandom "
       "> Resources/part.dat && echo '#!/bin/sh' > 'Zephyra Linux'");
    ASSERT_EQ(publish_release(product, "8.60", server.www(),
                              "--mirror 'good.example,/,Good' --platform 'Zephyra Linux=3'"), "");
    // Nothing remembered, only the way to the mirror; a copy of the program
    // of its own, for a private Log.txt.
    prefs = proxy_prefs(server.port);
    net_test::write_file(home + "/.zephyra/Zephyra Installer.prf", prefs);
    sh("mkdir -p '" + tmp.file("bin") + "' && cp '" ZEPHYRA_BINARY_DIR "/zephyra-installer' '" + bin + "'");
  }
  void TearDown() override {
    if (app > 0) kill(app, SIGKILL), waitpid(app, nullptr, 0);
  }
  void start() {
    if ((app = fork()) == 0) {
      setenv("HOME", home.c_str(), 1);
      dup2(open("/dev/null", O_WRONLY), 1);
      execl(bin.c_str(), bin.c_str(), "--force_run", static_cast<char*>(nullptr));
      _exit(127);
    }
    w.reset(new window_driver_class);
    ASSERT_TRUE(w->open() && w->wait_for_window(30));
  }
  int ended() {
    int status = -1;
    wait([&] { return waitpid(app, &status, WNOHANG) == app; });
    app = -1;
    return status;
  }
  window_spot in(int code, float x, float y) { return dialog_point(code, x, y); }
  void click(window_spot p) { w->click(p.x, p.y); }
  // Dark pixels (text, icons) in a box of the chooser.
  int ink(float x1, float y1, float x2, float y2) {
    const window_spot a = in(998, x1, y1), b = in(998, x2, y2);
    return w->count(a.x, a.y, b.x, b.y, [](window_rgb c) { return sum(c) < 250; });
  }
  void type(const char* text) {
    Display* d = XOpenDisplay(nullptr);
    for (; *text; ++text) {
      XTestFakeKeyEvent(d, XKeysymToKeycode(d, *text), True, 0);
      XTestFakeKeyEvent(d, XKeysymToKeycode(d, *text), False, 0);
    }
    XCloseDisplay(d);
  }
  // The window driver's install; true when the question was asked on the way.
  bool install(const std::function<void()>& before_start = nullptr) {
    bool asked = false;
    EXPECT_EQ(drive_window_install(*w, 120, before_start,
                                   [&](const char* step) { asked |= std::string(step) == "question"; }),
              "");
    EXPECT_EQ(ended(), 0);
    return asked;
  }
};

TEST_F(ChooserRoad, AFirstStartChoosesTheFolderThenUpdatesKeepTheUsersFile) {
  // Nothing remembered: the chooser at once, in home/Zephyra/, which doesn't
  // exist yet. Each step waits for what it shows, as a person would look.
  start();
  ASSERT_TRUE(wait([&] { return w->chooser_shown(); }));
  auto row0 = [&] { return ink(30, 262, 200, 278); };
  ASSERT_EQ(row0(), 0);
  click(in(998, 170.5f, 440));   // the path's parts
  ASSERT_TRUE(wait([&] { return ink(130, 450, 210, 456) > 50; }));
  click(in(998, 170.5f, 452));   // one level up: home, which holds .zephyra/
  ASSERT_TRUE(wait([&] { return row0() > 0; }));
  type("sims");
  ASSERT_TRUE(wait([&] { return ink(24, 46, 60, 58) > 10; })) << "no typing in the field";
  click(in(998, 240, 28));   // New Folder
  ASSERT_TRUE(wait([&] { return access((home + "/sims").c_str(), F_OK) == 0; }));
  click(in(998, 100, 250));   // the second row, sims/: entered, nothing in it
  ASSERT_TRUE(wait([&] { return row0() == 0; }));
  click(in(998, 115, 28));   // Select
  ASSERT_TRUE(wait([&] { return !w->chooser_shown(); }));
  // On the preferences screen: full speed on, streams set by hand (1),
  // logging on; then the close corner.
  EXPECT_FALSE(install([&] {
    w->remember_sky();
    w->click(kPrefsSpot.x, kPrefsSpot.y);
    ASSERT_TRUE(w->wait_for_dialog(true));
    for (float y : {265, 150, 110}) click(in(2, 30, y + 4));
    click(in(2, 16, 370));
    ASSERT_TRUE(w->wait_for_dialog(false));
  }));
  // A new folder in the chosen one, named after the release, remembered with
  // the choices: the same bytes as the preference code writes them.
  EXPECT_EQ(listing(home + "/sims/8.60"), listing(product));
  const std::string expect = tmp.file("expect"), old_home = getenv("HOME") ? getenv("HOME") : "";
  sh("mkdir -p '" + expect + "/.zephyra'");
  net_test::write_file(expect + "/.zephyra/Zephyra Installer.prf", prefs);
  setenv("HOME", expect.c_str(), 1);
  set_run_defaults();
  pref.IO_set(pref_set_installer, 0);
  stg.use_max_cpu = 1, stg.stream_count = 1, stg.log_actions = 1;
  dest_dir_path = home + "/sims/8.60/";
  pref.IO_set(pref_set_installer, 1);
  setenv("HOME", old_home.c_str(), 1);
  set_run_defaults();
  EXPECT_EQ(net_test::read_file(home + "/.zephyra/Zephyra Installer.prf"),
            net_test::read_file(expect + "/.zephyra/Zephyra Installer.prf"));

  // The second start: no chooser, and the first status line says up to date.
  start();
  std::vector<glyph_place> g;
  text_layout(144, 58, "Your copy of Zephyra is already the latest version.", 9999, 100, &g);
  auto line_end = [&] {
    int right = 0;
    for (int x = 144; x < 1010; x += 2)
      if (w->count(x, 60, x + 1, 66, [](window_rgb c) { return sum(c) < 300; })) right = x;
    return right;
  };
  EXPECT_TRUE(wait([&] { return std::abs(line_end() - g.back().x) < 12; })) << line_end();
  EXPECT_FALSE(w->chooser_shown());
  w->click(kQuitSpot.x, kQuitSpot.y);
  ASSERT_EQ(ended(), 0);

  // A file changed by hand: the next run asks, and KEEP keeps it.
  const std::string wing = home + "/sims/8.60/Airfoils/wing.afl";
  net_test::write_file(wing, "my own wing\n");
  start();
  EXPECT_TRUE(install());
  EXPECT_EQ(net_test::read_file(wing), "my own wing\n");
}

}  // namespace
