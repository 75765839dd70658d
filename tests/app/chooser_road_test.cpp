// A user's whole road through the installer's window, from outside: the real
// program under its own Xvfb, clicked and typed at with XTEST, installing from
// a mirror made by zephyra-publish and served by nginx.
// gtest first: Xlib defines None.
#include <gtest/gtest.h>

#include <X11/extensions/XTest.h>
#include <fcntl.h>
#include <X11/keysym.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <map>
#include <thread>

#include "../net/net_support.h"
#include "support.h"
#include "toolkit/text.h"
#include "window_driver.h"
#include "xvfb.h"

namespace {

std::string sh(const std::string& cmd) {
  std::string out;
  FILE* p = popen(cmd.c_str(), "r");
  char buf[4096];
  size_t n;
  while (p && (n = fread(buf, 1, sizeof buf, p)) > 0) out.append(buf, n);
  if (p) pclose(p);
  return out;
}

// Files and links below root with their signatures, folders left out.
std::string listing(const std::string& root) {
  return sh("cd '" + root + "' && find . ! -type d -exec md5sum {} + | sort");
}

void type_text(const std::string& text) {
  Display* d = XOpenDisplay(nullptr);
  ASSERT_NE(d, nullptr);
  for (char c : text) {
    const KeyCode k = XKeysymToKeycode(d, static_cast<KeySym>(c));
    XTestFakeKeyEvent(d, k, True, 0);
    XTestFakeKeyEvent(d, k, False, 0);
    XSync(d, False);
    std::this_thread::sleep_for(std::chrono::milliseconds(40));
  }
  XCloseDisplay(d);
}

// Where the chooser puts its controls, in its own coordinates.
const window_spot kPopup = {341 * 0.5f, 440}, kNewFolder = {240, 28}, kSelect = {115, 28};
window_spot list_row(int r) { return {100, 280 - 20 * r - 10.0f}; }
// KEEP THE OLD FILE on the changed-file question.
const window_spot kKeep = {96, 28};

class ChooserRoad : public ::testing::Test {
 protected:
  net_test::scratch tmp;
  net_test::nginx_server server{tmp.file("nginx")};
  xvfb_class xvfb;
  window_driver_class* w = nullptr;
  std::string product, home, bin;
  pid_t app = -1;

  void SetUp() override {
    ASSERT_TRUE(server.running()) << server.error;
    ASSERT_TRUE(xvfb.start(1024, 768));
    product = tmp.file("product/Zephyra");
    const std::map<std::string, std::string> files = {
        {"Airfoils/wing.afl", "wing\n"},
        {"Instructions/Read Me.txt", "read me\n"},
        {"Output/logbook.txt", "log\n"},
        {"Resources/part.dat", net_test::pattern_bytes(300000, 3)},
        {"Zephyra Linux", "#!/bin/sh\n"}};
    for (const auto& [rel, bytes] : files) {
      sh("mkdir -p \"$(dirname '" + product + "/" + rel + "')\"");
      net_test::write_file(product + "/" + rel, bytes);
    }
    const std::string out = sh("'" ZEPHYRA_BINARY_DIR "/zephyra-publish' --quiet --product '" +
                               product + "' --release 8.60 --out '" + server.www() +
                               "' --mirror 'good.example,/,Good mirror' --platform 'Zephyra Linux=3'"
                               " 2>&1; echo status=$?");
    ASSERT_NE(out.find("status=0"), std::string::npos) << out;
    // A home with nothing remembered, only the way to the mirror.
    home = tmp.file("home");
    const std::string port = std::to_string(server.port);
    sh("mkdir -p '" + home + "/.zephyra' '" + tmp.file("bin") + "'");
    net_test::write_file(home + "/.zephyra/Zephyra Installer.prf",
                         "I\n8500 version\n_proxy_host 127.0.0.1\n_proxy_port " + port +
                             "\n_proxy_port_int " + port + "\n");
    // A copy of its own, so its Log.txt is private.
    bin = tmp.file("bin/zephyra-installer");
    sh("cp '" ZEPHYRA_BINARY_DIR "/zephyra-installer' '" + bin + "'");
  }
  void TearDown() override {
    if (app > 0) {
      kill(app, SIGKILL);
      waitpid(app, nullptr, 0);
    }
    delete w;
  }

  // Starts the installer and waits for its window.
  void start() {
    app = fork();
    if (app == 0) {
      setenv("HOME", home.c_str(), 1);
      const int quiet = open("/dev/null", O_WRONLY);
      dup2(quiet, 1);
      execl(bin.c_str(), bin.c_str(), "--force_run", static_cast<char*>(nullptr));
      _exit(127);
    }
    delete w;
    w = new window_driver_class;
    ASSERT_TRUE(w->open());
    ASSERT_TRUE(w->wait_for_window(30));
  }
  // The exit status, or -1 when it did not end in time.
  int ended(double seconds) {
    int status = 0;
    const bool done = window_driver_class::wait_until(
        [&] { return waitpid(app, &status, WNOHANG) == app; }, seconds);
    if (!done) return -1;
    app = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128;
  }
  // Dark pixels (text, icons) in a box of the chooser.
  int ink(float x1, float y1, float x2, float y2) {
    float ox, oy;
    dialog_origin(998, &ox, &oy);
    return w->count(ox + x1, oy + y1, ox + x2, oy + y2,
                    [](window_rgb c) { return c.r + c.g + c.b < 250; });
  }
  void click_in_chooser(window_spot p) {
    float ox, oy;
    dialog_origin(998, &ox, &oy);
    w->click(ox + p.x, oy + p.y);
  }
  // The dark panel of the path above the light panel of the list.
  bool chooser_up(double seconds) {
    float ox, oy;
    dialog_origin(998, &ox, &oy);
    return window_driver_class::wait_until(
        [&] {
          const window_rgb path = w->pixel(ox + 250, oy + 420), list = w->pixel(ox + 250, oy + 100);
          return path.r + path.g + path.b < 100 && list.r + list.g + list.b > 600;
        },
        seconds);
  }
  // START when it turns green, Agree, KEEP when a changed file is asked
  // about, the end in green, Quit.
  std::string install(bool question = false) {
    // Points of the buttons beside their words.
    auto green = [&](float x, float y) {
      const window_rgb c = w->pixel(x, y);
      return c.g > c.r + 8 && c.g > c.b + 8;   // the back colour is bluish, not green
    };
    if (!w->wait_until([&] { return green(kStartSpot.x + 35, kStartSpot.y); }, 60))
      return "START never turned green";
    w->click(kStartSpot.x, kStartSpot.y);
    float ox, oy;
    dialog_origin(1, &ox, &oy);
    if (!w->wait_until([&] { return green(ox + kAgreeSpot.x + 26, oy + kAgreeSpot.y - 6); }, 20))
      return "no agreement after START";
    w->click(ox + kAgreeSpot.x, oy + kAgreeSpot.y);
    if (question) {
      float qx, qy;
      dialog_origin(997, &qx, &qy);
      // The plain back colour beside the question's light panel, with Agree gone.
      auto asked = [&] {
        const window_rgb out = w->pixel(qx - 5, qy + 70), in = w->pixel(qx + 350, qy + 130);
        return std::abs(out.r - 51) + std::abs(out.g - 67) + std::abs(out.b - 86) < 8 &&
               in.r + in.g + in.b > 600 && !green(ox + kAgreeSpot.x + 26, oy + kAgreeSpot.y - 6);
      };
      if (!w->wait_until(asked, 20)) return "no question about the changed file";
      w->click(qx + kKeep.x, qy + kKeep.y);
    }
    auto complete = [&] {
      return w->count(kMessageLow.x, kMessageLow.y, kMessageHigh.x, kMessageHigh.y,
                      [](window_rgb c) { return c.g > c.r + 40 && c.g > c.b + 40; }) > 20;
    };
    if (!w->wait_until(complete, 120)) return "never INSTALLATION COMPLETE!";
    w->click(kQuitSpot.x, kQuitSpot.y);
    return "";
  }
  // The right end of the ink of the first status line.
  int status_line_end() {
    int right = 0;
    for (int x = 144; x < 1010; x += 2)
      if (w->count(x, 60, x + 1, 66, [](window_rgb c) { return c.r + c.g + c.b < 300; }) > 0)
        right = x;
    return right;
  }
};

TEST_F(ChooserRoad, AFirstStartChoosesTheFolderThenUpdatesKeepTheUsersFile) {
  start();
  // Nothing remembered: the chooser comes up at once, in home/Zephyra/,
  // which doesn't exist yet.
  ASSERT_TRUE(chooser_up(20)) << "no chooser on a first start";
  // Each step waits for what it shows, as a person would look.
  auto row0_ink = [&] { return ink(30, 262, 200, 278); };
  auto wait = [](const std::function<bool()>& seen) {
    return window_driver_class::wait_until(seen, 20);
  };
  ASSERT_EQ(row0_ink(), 0) << "home/Zephyra/ does not exist: nothing to list";
  click_in_chooser(kPopup);
  ASSERT_TRUE(wait([&] { return ink(kPopup.x - 40, 450, kPopup.x + 40, 456) > 50; }))
      << "no pop-up of the path";
  click_in_chooser({kPopup.x, kPopup.y + 12});   // one level up: home
  ASSERT_TRUE(wait([&] { return row0_ink() > 0; })) << "home (.zephyra/) not listed";
  type_text("sims");
  ASSERT_TRUE(wait([&] { return ink(24, 46, 60, 58) > 10; })) << "typing did not reach the field";
  click_in_chooser(kNewFolder);
  ASSERT_TRUE(wait([&] { return access((home + "/sims").c_str(), F_OK) == 0; }));
  // home holds .zephyra/ and sims/; entering sims/ empties the list.
  click_in_chooser(list_row(1));
  ASSERT_TRUE(wait([&] { return row0_ink() == 0; })) << "sims/ not entered";
  click_in_chooser(kSelect);
  ASSERT_TRUE(wait([&] { return !chooser_up(0); }));

  ASSERT_EQ(install(), "") << sh("tail -20 '" + tmp.file("bin/Log.txt") + "'");
  ASSERT_EQ(ended(30), 0);
  // A new folder inside the chosen one, named after the release at the end.
  EXPECT_EQ(listing(home + "/sims/8.60"), listing(product));
  const std::string prefs = net_test::read_file(home + "/.zephyra/Zephyra Installer.prf");
  EXPECT_NE(prefs.find(home + "/sims/8.60/"), std::string::npos) << prefs;

  // The second start knows the folder: no chooser, and the list finds nothing to do.
  start();
  std::vector<glyph_place> g;
  text_layout(144, 58, "Your copy of Zephyra is already the latest version.", 9999,
              charset_UI_diff_space, &g);
  const int end = static_cast<int>(g.back().x);
  EXPECT_TRUE(window_driver_class::wait_until(
      [&] { return std::abs(status_line_end() - end) < 12; }, 30))
      << "status line ends at " << status_line_end() << ", not " << end;
  EXPECT_FALSE(chooser_up(0));
  w->click(kQuitSpot.x, kQuitSpot.y);
  ASSERT_EQ(ended(30), 0);

  // A file changed by hand: the next run asks, and KEEP keeps it.
  const std::string wing = home + "/sims/8.60/Airfoils/wing.afl";
  net_test::write_file(wing, "my own wing\n");
  start();
  ASSERT_EQ(install(true), "") << sh("tail -20 '" + tmp.file("bin/Log.txt") + "'");
  EXPECT_EQ(ended(30), 0);
  EXPECT_EQ(net_test::read_file(wing), "my own wing\n");
}

}  // namespace
