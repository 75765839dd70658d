// The built installer in a window under Xvfb, worked only by XTEST clicks at
// the screen's own coordinates and watched through the X server's pixels:
// a fresh install from nginx, with choices made on the preferences screen
// that the preference file written at shutdown must hold.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include <gtest/gtest.h>

#include "../net/net_support.h"
#include "files/mnw.h"
#include "install/preferences.h"
#include "install/stage.h"
#include "net/http.h"
#include "screens_support.h"
#include "window_driver.h"
#include "xvfb.h"

namespace {

TEST(WindowClicks, InstallFromNginxWithPreferencesKeptAtShutdown) {
  net_test::scratch tmp;
  net_test::nginx_server server{tmp.file("nginx")};
  ASSERT_TRUE(server.running()) << server.error;
  xvfb_class x;
  ASSERT_TRUE(x.start(1024, 768));

  const std::string product = tmp.file("product/Zephyra");
  sh("mkdir -p '" + product + "/Resources/fonts' '" + product + "/Airfoils' '" + tmp.file("disk") + "' '" +
     tmp.file("bin") + "' '" + tmp.file("home/.zephyra") + "' '" + tmp.file("expect/.zephyra") + "'");
  net_test::write_file(product + "/Resources/big.dat", net_test::pattern_bytes(3000000, 7));
  net_test::write_file(product + "/Resources/fonts/map.txt", "fonts\n");
  net_test::write_file(product + "/Airfoils/wing.afl", "wing\n");
  const std::string out = sh("'" ZEPHYRA_BINARY_DIR "/zephyra-publish' --quiet --product '" + product +
                             "' --release 8.60 --out '" + server.www() +
                             "' --mirror 'good.example,/,Good mirror' 2>&1; echo status=$?");
  ASSERT_NE(out.find("status=0"), std::string::npos) << out;
  const std::string port = std::to_string(server.port);
  const std::string prefs = "I\n8500 version\n_proxy_host 127.0.0.1\n_proxy_port " + port +
                            "\n_proxy_port_int " + port + "\n";
  net_test::write_file(tmp.file("home/.zephyra/Zephyra Installer.prf"), prefs);
  sh("cp '" ZEPHYRA_BINARY_DIR "/zephyra-installer' '" + tmp.file("bin/") + "'");

  const std::string exe = tmp.file("bin/zephyra-installer"), home = "HOME=" + tmp.file("home"),
                    folder = tmp.file("disk") + "/", log = tmp.file("window.out");
  const pid_t app = fork();
  if (app == 0) {
    freopen(log.c_str(), "w", stdout);
    dup2(1, 2);
    putenv(const_cast<char*>(home.c_str()));
    execl(exe.c_str(), exe.c_str(), "-path", folder.c_str(), "--force_run", static_cast<char*>(nullptr));
    _exit(127);
  }

  // On the preferences screen: full speed on, streams set by hand (1),
  // logging on; then the close corner.
  float px, py;
  dialog_origin(2, &px, &py);
  window_driver_class w;
  ASSERT_TRUE(w.open());
  const std::string why = drive_window_install(w, 120, [&] {
    w.remember_sky();
    w.click(kPrefsSpot.x, kPrefsSpot.y);
    ASSERT_TRUE(w.wait_for_dialog(true));
    for (float y : {265, 150, 110}) w.click(px + 30, py + y + 4);
    w.click(px + 16, py + 380 - 10);
    ASSERT_TRUE(w.wait_for_dialog(false));
  });
  EXPECT_EQ(why, "") << net_test::read_file(log);
  int status = -1;
  window_driver_class::wait_until([&] { return waitpid(app, &status, WNOHANG) == app; }, 30);
  if (!WIFEXITED(status)) kill(app, SIGKILL), waitpid(app, &status, 0);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << net_test::read_file(log);
  EXPECT_EQ(listing(folder + "Zephyra"), listing(product));

  // The same choices written by the preference code itself, for the bytes.
  set_run_defaults();
  setenv("HOME", tmp.file("home").c_str(), 1);
  net_test::write_file(tmp.file("expect/.zephyra/Zephyra Installer.prf"), prefs);
  setenv("HOME", tmp.file("expect").c_str(), 1);
  pref.IO_set(pref_set_installer, 0);
  stg.use_max_cpu = 1, stg.stream_count = 1, stg.log_actions = 1;
  dest_dir_path = folder + "Zephyra/";
  pref.IO_set(pref_set_installer, 1);
  EXPECT_EQ(net_test::read_file(tmp.file("home/.zephyra/Zephyra Installer.prf")),
            net_test::read_file(tmp.file("expect/.zephyra/Zephyra Installer.prf")));
}

}  // namespace
