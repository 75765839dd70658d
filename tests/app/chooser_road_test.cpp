// A user's road through the real program's window under its own Xvfb,
// driven by XTEST, installing from a published mirror on nginx. Choices made
// on the preferences screen must reach the preference file written at shutdown.
#include <gtest/gtest.h>   // before Xlib, which defines None

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>

#include "../net/net_support.h"
#include "screens_support.h"
#include "window_driver.h"
#include "xvfb.h"

namespace {

bool wait(const std::function<bool()>& seen) { return window_driver_class::wait_until(seen, 30); }

class ChooserRoad : public ::testing::Test {
 protected:
  net_test::scratch tmp;
  net_test::nginx_server server{tmp.file("nginx")};
  xvfb_class xvfb;
  std::unique_ptr<window_driver_class> w;
  std::string product = tmp.file("product/Zephyra"), home = tmp.file("home"), bin = tmp.file("bin/zi");
  pid_t app = -1;

  void SetUp() override {
    ASSERT_TRUE(server.running() && xvfb.start(1024, 768)) << server.error;
    sh("mkdir -p '" + home + "/.zephyra' '" + product + "' && cd '" + product +
       "' && mkdir Airfoils Instructions Output Resources && echo wing > Airfoils/wing.afl && echo me > "
       "'Instructions/Read Me.txt' && echo log > Output/log.txt && head -c 300000 /dev/urandom "
       "> Resources/part.dat && echo '#!/bin/sh' > 'Zephyra Linux'");
    ASSERT_EQ(publish_release(product, "8.60", server.www(),
                              "--mirror 'good.example,/,Good' --platform 'Zephyra Linux=3'"), "");
    // Nothing remembered but the way to the mirror; a private program copy for its Log.txt.
    net_test::write_file(home + "/.zephyra/Zephyra Installer.prf", proxy_prefs(server.port));
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
  void click(int code, float x, float y) {
    const window_spot p = dialog_point(code, x, y);
    w->click(p.x, p.y);
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
  // Nothing remembered: the chooser at once; Select takes the folder shown.
  // On the preferences screen: full speed on, streams set by hand (1),
  // logging on; then the close corner.
  start();
  ASSERT_TRUE(wait([&] { return w->chooser_shown(); }));
  EXPECT_FALSE(install([&] {
    w->remember_sky();
    w->click(kPrefsSpot.x, kPrefsSpot.y);
    ASSERT_TRUE(w->wait_for_dialog(true));
    for (float y : {265, 150, 110}) click(2, 30, y + 4);
    click(2, 16, 370);
    ASSERT_TRUE(w->wait_for_dialog(false));
  }));
  // A new folder named after the release, remembered with the choices.
  const std::string installed = home + "/8.60", port = std::to_string(server.port);
  EXPECT_EQ(listing(installed), listing(product));
  EXPECT_EQ(net_test::read_file(home + "/.zephyra/Zephyra Installer.prf"),
            "I\n8500 version\n_download_os 3\n_use_max_cpu 1\n_rename_folder 1\n_stream_count 1\n_log_actions 1\n"
            "_always_ask_dir 0\n_dest_dir_path " + installed + "/\n_proxy_host 127.0.0.1\n_proxy_port " + port +
                "\n_proxy_port_int " + port + "\n");

  // The next start goes back to that folder: a file changed by hand there
  // is asked about, and KEEP keeps it.
  const std::string wing = installed + "/Airfoils/wing.afl";
  net_test::write_file(wing, "my own wing\n");
  start();
  EXPECT_TRUE(install());
  EXPECT_EQ(net_test::read_file(wing), "my own wing\n");
}

}  // namespace
