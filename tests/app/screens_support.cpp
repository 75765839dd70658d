#include "screens_support.h"

#include <GL/gl.h>

#include <cstdio>
#include <cstdlib>

#include "files/alert.h"
#include "files/cmdline.h"
#include "install/person.h"
#include "files/mnw.h"
#include "shell/glprobe.h"
#include "shell/hooks.h"
#include "shell/pump.h"
#include "shell/window.h"
#include "support.h"
#include "../net/net_support.h"
#include "toolkit/draw.h"
#include "toolkit/textures.h"
#include "toolkit/toolkit.h"

namespace {

std::string pending_shot;

void swap_with_shot() {
  if (!pending_shot.empty()) {
    save_docs_screen(pending_shot);
    pending_shot.clear();
  }
  glXSwapBuffers(dpy, win);
}

}  // namespace

void ScreenSuite::SetUpTestSuite() {
  server = new xvfb_class;
  ASSERT_TRUE(server->start(1024, 768)) << "Xvfb did not start";
  shell_test_reset();
  // An earlier suite's alert screen would wait for a click, and its start-up
  // screen draw before the pictures are loaded.
  alert_hooks = alert_hooks_t{};
  person_hooks = person_hooks_t{};
  plot_init_lights = 0;
  tman = tman_class();
  glExt = OGL_extensions();
  // Mesa's version reads as unknown to the probe: the window runs only with this.
  static const char* const args[] = {"test_app", "--force_run"};
  cmdline.init_unix(2, const_cast<const char**>(args));
  TOOLKIT_install_hooks();
  mnw.x_res_req = 1024;
  mnw.y_res_req = 768;
  mnw.col_res_req = 32;
  mnw.tex_res = 5;
  MACIBM_setres(1);
  ASSERT_EQ(1, MACIBM_make_context(0));
  shell_hooks.pix_specs(0);
  glExt.init_extensions();
  shell_hooks.load_builtin_images();
  shell_hooks.init_colours();
  MACIBM_startwind(-1);
}

void ScreenSuite::TearDownTestSuite() {
  PUMP_set_time_source(nullptr);
  // A later suite would take a current context as live, with no textures.
  glXMakeCurrent(dpy, None, nullptr);
  tman = tman_class();
  delete server;
  server = nullptr;
}

void ScreenSuite::SetUp() {
  ASSERT_TRUE(OGL_live());
  pending_shot.clear();
  shell_hooks.swap_buffers = swap_with_shot;
  OGL_reset_state_cache();
  OGL_viewport_2d();
  glDrawBuffer(GL_BACK);
}

void ScreenSuite::TearDown() {
  pending_shot.clear();
  on_app_update = nullptr;
  MACIBM_startwind(-1);
}

std::string save_docs_screen(const std::string& name) {
  const char* dir = getenv("ZEPHYRA_SCREENSHOT_DIR");
  std::string path = dir && *dir ? std::string(dir) : std::string(ZEPHYRA_BINARY_DIR);
  if (path.back() != '/') path += '/';
  path += name + ".png";
  glFinish();
  glReadBuffer(GL_BACK);
  OGL_screenshot(0);  // into scratch_array, bottom row first
  return write_png_to_disk(path, 1024, 768, 3) == 1 ? path : std::string();
}

void save_docs_screen_at_next_swap(const std::string& name) { pending_shot = name; }

int window_x(float x) { return static_cast<int>(x); }
int window_y(float y) { return static_cast<int>(768 - y); }

std::string sh(const std::string& cmd) { return net_test::shell_output(cmd); }

std::string listing(const std::string& root) {
  return sh("cd '" + root + "' && find . ! -type d -exec md5sum {} + | sort");
}

std::string publish_release(const std::string& product, const std::string& release, const std::string& www,
                            const std::string& options) {
  const std::string out = sh("'" ZEPHYRA_BINARY_DIR "/zephyra-publish' --quiet --product '" + product +
                             "' --release " + release + " --out '" + www + "' " + options + " 2>&1; echo status=$?");
  return out.size() >= 9 && out.compare(out.size() - 9, 9, "status=0\n") == 0 ? "" : out;
}

std::string proxy_prefs(int port) {
  const std::string p = std::to_string(port);
  return "I\n8500 version\n_proxy_host 127.0.0.1\n_proxy_port " + p + "\n_proxy_port_int " + p + "\n";
}
