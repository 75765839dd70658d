// Installs from nginx through the main screen in the test's own window: the
// frame loop on the real clock, START a posted click, and each state of the
// screen saved as a picture on the way.
#include <unistd.h>

#include <cstdlib>
#include <functional>
#include <map>
#include <string>

#include "../net/net_support.h"
#include "app/main_screen.h"
#include "files/alert.h"
#include "install/directory.h"
#include "install/person.h"
#include "install/stage.h"
#include "install/streams.h"
#include "net/http.h"
#include "screens_support.h"
#include "shell/pump.h"
#include "support.h"

namespace {

class WindowScreens : public ScreenSuite {
 protected:
  net_test::scratch tmp;
  // Slow enough that several frames show the bar part-filled.
  net_test::nginx_server server{tmp.file("nginx"), "limit_rate 1m;"};
  std::string product;

  void SetUp() override {
    ScreenSuite::SetUp();
    ASSERT_TRUE(server.running()) << server.error;
    product = tmp.file("product/Zephyra");
    sh("mkdir -p '" + product + "/Resources' '" + product + "/Airfoils' && cd '" + product +
       "' && echo wing > Airfoils/wing.afl");
    // Files of growing size, so the installed total climbs in steps.
    for (unsigned i = 1; i <= 8; ++i)
      net_test::write_file(product + "/Resources/part" + std::to_string(i) + ".dat",
                           net_test::pattern_bytes(150000 * i, i));
    ASSERT_EQ(publish_release(product, "8.60", server.www(), "--mirror 'good.example,/,Good mirror'"), "");
    sh("mkdir -p '" + tmp.file("home/.zephyra") + "' '" + tmp.file("disk") + "' '" + tmp.file("t") + "'");
    net_test::write_file(tmp.file("home/.zephyra/Zephyra Installer.prf"), proxy_prefs(server.port));
    setenv("HOME", tmp.file("home").c_str(), 1);
    PUMP_set_time_source(nullptr);
  }
  void TearDown() override {
    ScreenSuite::TearDown();
    sim_info.clear();
    app_done = 0;
  }

  // main's own start on a new folder, then frames until done (or a minute);
  // shot sees each frame before its swap.
  bool install(const std::function<void()>& shot, const std::function<bool()>& done) {
    person_hooks = person_hooks_t{};
    person_hooks.handle_EULA = [] { return 1; };
    person_hooks.GetFilePathFromUser = [](int, const char*, const char*, int, const char*, char*) { return 0; };
    stage_reset_frame_state();
    next = next_class();
    sim_info.clear();
    app_done = 0;
    const std::string folder = tmp.file("disk") + "/";
    const char* argv[] = {"zephyra-installer", "-path", folder.c_str()};
    stage_main_start(3, argv);
    temp_path = tmp.file("t/");  // not the shared /tmp/ of a real run
    // Offline for the first frames: nothing listens on the proxy's port.
    http._proxy_port_int = net_test::free_port();
    static std::function<void()> each;
    each = shot;
    on_app_update = [] {
      main_screen_update();
      each();
    };
    for (int i = 0; i < 6000 && !done(); ++i) MACIBM_event_proc();
    return done();
  }
};

// A fresh install, then an update whose archive is broken, which fails.
TEST_F(WindowScreens, ScreenshotsOfAnInstallFromNginxAndOfAFailedUpdate) {
  std::map<std::string, int> saved;
  auto once = [&](const char* name) {
    if (saved[name]++ == 0) {
      EXPECT_FALSE(save_docs_screen(name).empty()) << name;
    }
  };
  int frames = 0;
  bool started = false;
  auto shot = [&] {
    if (++frames == 5 && saved["main_complete"] == 0) {
      EXPECT_EQ(stg.server_count, -1);
      once("main_waiting");
    }
    if (frames >= 5) http._proxy_port_int = server.port;
    if (stg.stage == 0 && stg.dir_state == 3 && !started) {
      EXPECT_TRUE(main_screen_last.start_enabled);
      once("main_ready");
      started = true;   // START on the next frame
      PUMP_post_motion(window_x(490), window_y(89));
      PUMP_post_button(1);
      PUMP_post_button(0);
    }
    if (stg.stage == 1 && upd.totl_inst_rat > 0.25f && upd.totl_inst_rat < 0.75f) once("main_installing");
    // The frame that ends the run still shows the transfer's lines.
    if (main_screen_last.lines.line[0].text == "INSTALLATION COMPLETE!") once("main_complete");
  };
  ASSERT_TRUE(install(shot, [&] { return saved["main_complete"] > 0; }));
  for (const char* name : {"main_waiting", "main_ready", "main_installing", "main_complete"})
    EXPECT_GT(saved[name], 0) << name;
  EXPECT_EQ(main_screen_last.message.text, "INSTALLATION COMPLETE!");
  EXPECT_EQ(listing(tmp.file("disk/Zephyra")), listing(product));

  net_test::write_file(server.www() + "/8.60/Zephyra/Airfoils/wing.afl.zip", "PK\x03\x04 not a zip at all");
  unlink(tmp.file("disk/Zephyra/Airfoils/wing.afl").c_str());
  frames = 0, started = false;
  ASSERT_TRUE(install(shot, [] { return stg.stage == 2; }));
  main_screen_update();  // the frame after the end shows the red lines
  EXPECT_EQ(main_screen_last.lines.line[0].colour, 68);
  EXPECT_FALSE(save_docs_screen("main_failed").empty());
}

}  // namespace
