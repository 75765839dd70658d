// The installer's settings through the preference file in the user's folder,
// and the shell's set beside the working folder.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>

#include "files/mnw.h"
#include "install/preferences.h"
#include "install/stage.h"
#include "install_fixture.h"
#include "net/http.h"
#include "net/clock.h"

namespace {

std::string slurp(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream ss;
  ss << in.rdbuf();
  return ss.str();
}

// HOME points into a scratch folder for the length of a test; the run's
// values start from their defaults.
struct PrefsTest : ::testing::Test {
  scratch_dir home;
  std::string saved_home;
  bool had_home = false;
  std::string file = home.path + ".zephyra/Zephyra Installer.prf";

  void SetUp() override {
    if (const char* h = getenv("HOME")) {
      had_home = true;
      saved_home = h;
    }
    setenv("HOME", home.path.substr(0, home.path.size() - 1).c_str(), 1);
    defaults();
  }
  void TearDown() override {
    if (had_home) setenv("HOME", saved_home.c_str(), 1);
    else unsetenv("HOME");
    defaults();
  }
  static void defaults() {
    set_run_defaults();
    stg.log_actions = 0;
    dest_dir_path.clear();
    http._proxy_host.clear();
    http._proxy_port.clear();
    http._proxy_port_int = 0;
  }
};

TEST_F(PrefsTest, InstallerSetWritesTheFileAndReadsItBack) {
  dest_dir_path = "/home/me/Zephyra";
  http._proxy_host = "cache";
  http._proxy_port = "8080";
  http._proxy_port_int = 8080;
  pref.IO_set(11, 1);
  EXPECT_EQ(slurp(file),
            "I\n8500 version\n_download_os 3\n_use_max_cpu 0\n_rename_folder 1\n"
            "_stream_count 0\n_log_actions 0\n_always_ask_dir 0\n"
            "_dest_dir_path /home/me/Zephyra\n_proxy_host cache\n_proxy_port 8080\n"
            "_proxy_port_int 8080\n");

  // Every field away from its default, through the file and back.
  stg.download_os = 5;
  stg.use_max_cpu = 1;
  stg.rename_folder = 0;
  stg.stream_count = 4;
  stg.log_actions = 1;
  stg.always_ask_dir = 1;
  dest_dir_path = "/media/disk two/Zephyra 8.50/";
  http._proxy_host = "proxy.example";
  http._proxy_port = "3128";
  http._proxy_port_int = 3128;
  pref.IO_set(11, 1);
  defaults();
  pref.IO_set(11, 0);
  EXPECT_EQ(stg.download_os, 5);
  EXPECT_EQ(stg.use_max_cpu, 1);
  EXPECT_EQ(stg.rename_folder, 0);
  EXPECT_EQ(stg.stream_count, 4);
  EXPECT_EQ(stg.log_actions, 1);
  EXPECT_EQ(stg.always_ask_dir, 1);
  EXPECT_EQ(dest_dir_path, "/media/disk two/Zephyra 8.50/");
  EXPECT_EQ(http._proxy_host, "proxy.example");
  EXPECT_EQ(http._proxy_port, "3128");
  EXPECT_EQ(http._proxy_port_int, 3128);
}

TEST_F(PrefsTest, AbsentTagsKeepWhatTheCallerSet) {
  home.put(".zephyra/Zephyra Installer.prf", "I\n8500 version\n_stream_count 4\n");
  dest_dir_path = "/kept/";
  http._proxy_host = "kept";
  pref.IO_set(11, 0);
  EXPECT_EQ(stg.stream_count, 4);
  EXPECT_EQ(stg.download_os, 3);
  EXPECT_EQ(stg.rename_folder, 1);
  EXPECT_EQ(dest_dir_path, "/kept/");
  EXPECT_EQ(http._proxy_host, "kept");

  // A file of another version counts as absent.
  home.put(".zephyra/Zephyra Installer.prf", "I\n8400 version\n_stream_count 2\n");
  pref.IO_set(11, 0);
  EXPECT_EQ(stg.stream_count, 4);
}

TEST_F(PrefsTest, ClearedStringLeavesTheFile) {
  http._proxy_host = "cache";
  pref.IO_set(11, 1);
  ASSERT_NE(slurp(file).find("_proxy_host cache\n"), std::string::npos);

  http._proxy_host.clear();
  pref.IO_set(11, 1);
  const std::string text = slurp(file);
  EXPECT_EQ(text.find("_proxy_host"), std::string::npos) << text;
  EXPECT_EQ(text.find("_dest_dir_path"), std::string::npos);
  EXPECT_NE(text.find("_proxy_port_int 0\n"), std::string::npos);  // integers always written

  http._proxy_host = "from before";
  pref.IO_set(11, 0);
  EXPECT_EQ(http._proxy_host, "from before");
}

TEST_F(PrefsTest, WithoutAUsableHomeNothingBreaks) {
  unsetenv("HOME");
  EXPECT_EQ(pref_file_path(11), "Resources:preferences:Set Zephyra.prfZephyra Installer.prf");
  stg.stream_count = 2;
  pref.IO_set(11, 0);
  EXPECT_EQ(stg.stream_count, 2);

  // HOME a plain file: the folder can't be made, the write fails with a
  // warning on the console, and the run goes on.
  const std::string plain = home.put("plain", "not a folder");
  setenv("HOME", plain.c_str(), 1);
  EXPECT_EQ(pref_file_path(11), plain + "/.zephyra/Zephyra Installer.prf");
  testing::internal::CaptureStdout();
  pref.IO_set(11, 1);
  const std::string said = testing::internal::GetCapturedStdout();
  EXPECT_NE(said.find("I could not save the file!"), std::string::npos) << said;
  pref.IO_set(11, 0);
  EXPECT_EQ(stg.stream_count, 2);
}

// The shell's set lives beside the working folder.
struct ShellPrefsTest : ::testing::Test {
  scratch_dir dir;
  std::string saved_cwd;
  mnw_struct saved_mnw = mnw;
  float saved_fm = xtim.prd_FM, saved_ui = xtim.prd_UI;

  void SetUp() override {
    char buf[4096];
    ASSERT_NE(getcwd(buf, sizeof buf), nullptr);
    saved_cwd = buf;
    dir.mkdirs("Resources/preferences/");
    ASSERT_EQ(chdir(dir.path.c_str()), 0);
  }
  void TearDown() override {
    EXPECT_EQ(chdir(saved_cwd.c_str()), 0);
    mnw = saved_mnw;
    xtim.prd_FM = saved_fm;
    xtim.prd_UI = saved_ui;
  }
};

TEST_F(ShellPrefsTest, RoundTripAndTheMendedValues) {
  mnw.x_res_req = 1280;
  mnw.y_res_req = 1024;
  mnw.lang = 2;
  mnw.prefs_found = 1;
  xtim.prd_FM = 0.02f;
  xtim.prd_UI = 0.015f;
  pref.IO_set(10, 1);
  const std::string text = slurp(dir.path + "Resources/preferences/Res Cirrovan.prf");
  EXPECT_NE(text.find("_x_res_req 1280\n_y_res_req 1024\n"), std::string::npos) << text;
  EXPECT_NE(text.find("_prd_FM 0.020000\n_prd_UI 0.015000\n"), std::string::npos) << text;

  mnw.x_res_req = mnw.y_res_req = mnw.lang = mnw.prefs_found = 0;
  xtim.prd_FM = xtim.prd_UI = 1;
  pref.IO_set(10, 0);
  EXPECT_EQ(mnw.x_res_req, 1280);
  EXPECT_EQ(mnw.y_res_req, 1024);
  EXPECT_EQ(mnw.lang, 2);
  EXPECT_EQ(mnw.prefs_found, 1);
  EXPECT_FLOAT_EQ(xtim.prd_FM, 0.02f);
  EXPECT_FLOAT_EQ(xtim.prd_UI, 0.015f);

  // Sizes outside 1024/768 to 9999 and language 6 are mended in either direction.
  dir.put("Resources/preferences/Res Cirrovan.prf",
          "I\n8500 version\n_x_res_req 800\n_y_res_req 10000\n_lang 6\n");
  pref.IO_set(10, 0);
  EXPECT_EQ(mnw.x_res_req, 1024);
  EXPECT_EQ(mnw.y_res_req, 768);
  EXPECT_EQ(mnw.lang, 0);
  mnw.x_res_req = 10000;
  mnw.y_res_req = 767;
  mnw.lang = 6;
  pref.IO_set(10, 1);
  EXPECT_EQ(mnw.x_res_req, 1024);
  EXPECT_EQ(mnw.y_res_req, 768);
  EXPECT_EQ(mnw.lang, 0);
  EXPECT_NE(slurp(dir.path + "Resources/preferences/Res Cirrovan.prf").find("_x_res_req 10000\n"),
            std::string::npos);  // written as it stood, mended after
}

}  // namespace
