// The installer's settings through the preference file in the user's folder,
// and the shell's set beside the working folder.

#include "../files/temp_log.h"
#include "files/mnw.h"
#include "install/preferences.h"
#include "install_fixture.h"
#include "net/http.h"

namespace {

// HOME points into a scratch folder for the length of a test.
struct PrefsTest : install_case {
  scratch_dir& home = tmp;
  const std::string saved_home = getenv("HOME") ? getenv("HOME") : "/root";
  const std::string file = home.path + ".zephyra/Zephyra Installer.prf";

  void SetUp() override {
    setenv("HOME", home.path.c_str(), 1);
    defaults();
  }
  void TearDown() override {
    setenv("HOME", saved_home.c_str(), 1);
    defaults();
  }
  static void defaults() {
    reset();
    http._proxy_port_int = 0;
    dest_dir_path = http._proxy_host = http._proxy_port = "";
  }
  // Every installer field in one line, to compare a round trip at once.
  static std::string fields() {
    std::ostringstream s;
    s << stg.download_os << stg.use_max_cpu << stg.rename_folder << stg.stream_count
      << stg.log_actions << stg.always_ask_dir << '|' << dest_dir_path << '|' << http._proxy_host
      << '|' << http._proxy_port << '|' << http._proxy_port_int;
    return s.str();
  }
};

TEST_F(PrefsTest, InstallerSetReadsAndWritesExactBytes) {
  // Every field away from its default, read in and written back the same.
  const std::string text =
      "I\n8500 version\n_download_os 5\n_use_max_cpu 1\n_rename_folder 0\n_stream_count 4\n"
      "_log_actions 1\n_always_ask_dir 1\n_dest_dir_path /media/disk two/Zephyra 8.50/\n"
      "_proxy_host cache\n_proxy_port 8080\n_proxy_port_int 8080\n";
  home.put(".zephyra/Zephyra Installer.prf", text);
  pref.IO_set(pref_set_installer, 0);
  EXPECT_EQ(fields(), "510411|/media/disk two/Zephyra 8.50/|cache|8080|8080");
  pref.IO_set(pref_set_installer, 1);
  EXPECT_EQ(read_file(file), text);

  // An empty string leaves its tag out; integers are always written.
  defaults();
  pref.IO_set(pref_set_installer, 1);
  EXPECT_EQ(read_file(file).substr(read_file(file).find("_always")), "_always_ask_dir 0\n_proxy_port_int 0\n");
}

TEST_F(PrefsTest, AbsentTagsGarbageAndOtherVersionsKeepWhatTheCallerSet) {
  home.put(".zephyra/Zephyra Installer.prf",
           "I\n8500 version\n_stream_count 3\n\x01garbage here\n_nonsense 7\n_log_actions 1\n"
           "_stream_count 4\n");  // the last of two wins
  dest_dir_path = http._proxy_host = "kept";
  pref.IO_set(pref_set_installer, 0);
  EXPECT_EQ(fields(), "301410|kept|kept||0");
  home.put(".zephyra/Zephyra Installer.prf", "I\n8400 version\n_stream_count 2\n");
  pref.IO_set(pref_set_installer, 0);
  EXPECT_EQ(stg.stream_count, 4);

  // Without HOME the path names no file, which is tolerated. With HOME a
  // plain file the folder can't be made: the write warns and the run goes on.
  unsetenv("HOME");
  EXPECT_EQ(pref_file_path(pref_set_installer),
            "Resources:preferences:Set Zephyra.prfZephyra Installer.prf");
  pref.IO_set(pref_set_installer, 0);
  setenv("HOME", home.put("plain", "not a folder").c_str(), 1);
  testing::internal::CaptureStdout();
  pref.IO_set(pref_set_installer, 1);
  const std::string said = testing::internal::GetCapturedStdout();
  EXPECT_NE(said.find("I could not save the file!"), std::string::npos) << said;
}

TEST(ShellPrefs, SizesAndLanguageAreMendedEitherWay) {
  scratch_dir dir;
  const std::string file = dir.put("Resources/preferences/Res Cirrovan.prf",
                                   "I\n8500 version\n_x_res_req 800\n_y_res_req 10000\n_lang 6\n");
  char cwd[4096];
  ASSERT_TRUE(getcwd(cwd, sizeof cwd) && chdir(dir.path.c_str()) == 0);
  const mnw_struct saved = mnw;
  auto shell = [] {
    return std::to_string(mnw.x_res_req) + " " + std::to_string(mnw.y_res_req) + " " +
           std::to_string(mnw.lang);
  };
  // Sizes outside 1024/768 to 9999 and language 6 are mended on reading,
  // and on writing after the file got the values as they stood.
  pref.IO_set(pref_set_shell, 0);
  EXPECT_EQ(shell(), "1024 768 0");
  mnw.x_res_req = 10000, mnw.y_res_req = 767, mnw.lang = 6;
  pref.IO_set(pref_set_shell, 1);
  EXPECT_EQ(shell(), "1024 768 0");
  EXPECT_NE(read_file(file).find("_x_res_req 10000\n_y_res_req 767\n"), std::string::npos);
  EXPECT_EQ(chdir(cwd), 0);
  mnw = saved;
}

}  // namespace

TEST_F(PrefsTest, OutOfRangeValuesAreHeldToTheirControlsRanges) {
  // A negative stream count once finished a run with files left unfetched.
  const struct { const char* text; int streams, os; } rows[] = {
      {"_stream_count -3\n_download_os 0\n", 0, 1}, {"_stream_count 9\n_download_os 6\n", 4, 5},
      {"_stream_count 2\n_download_os 4\n", 2, 4},
  };
  for (const auto& r : rows) {
    home.put(".zephyra/Zephyra Installer.prf", std::string("I\n8500 version\n") + r.text);
    pref.IO_set(pref_set_installer, 0);
    EXPECT_EQ(stg.stream_count, r.streams) << r.text;
    EXPECT_EQ(stg.download_os, r.os) << r.text;
  }
}
