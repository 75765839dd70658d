// Whole console runs of the built installer against mirrors made by the
// publisher and served by nginx, reached through the proxy setting of a
// private HOME. Each test runs its own copy of the program, so its Log.txt
// is its own.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>

#include <map>
#include <memory>
#include <set>
#include <string>

#include "../net/net_support.h"
#include "app/console.h"

using net_test::read_file;
using net_test::write_file;

namespace {

const time_t kWhen = 1577934246;  // an even second: zip keeps no finer time

struct run_result {
  int status = -1;
  std::string out;
};

std::string sh(const std::string& cmd) {
  std::string out;
  FILE* p = popen(cmd.c_str(), "r");
  char buf[4096];
  size_t n;
  while (p && (n = fread(buf, 1, sizeof buf, p)) > 0) out.append(buf, n);
  if (p) pclose(p);
  return out;
}

// Every entry below root but folders: path, type, mode, time, link target
// and content signature, one line each.
std::set<std::string> listing(const std::string& root) {
  const std::string out = sh("cd '" + root +
                             "' && find . -mindepth 1 ! -type d -printf '%P|%y|%m|%T@|%l|' "
                             "-exec sh -c '[ -L \"$1\" ] && echo || md5sum < \"$1\"' _ {} \\;");
  std::set<std::string> lines;
  size_t at = 0;
  for (size_t nl; (nl = out.find('\n', at)) != std::string::npos; at = nl + 1) {
    std::string line = out.substr(at, nl - at);
    // A link's own time is whenever it was made; its target is what counts.
    const size_t type = line.find('|');
    if (line.compare(type, 3, "|l|") == 0) {
      const size_t time = line.find('|', type + 3);
      line.erase(time + 1, line.find('|', time + 1) - time - 1);
    }
    lines.insert(line);
  }
  return lines;
}

class Console : public testing::Test {
 protected:
  net_test::scratch tmp;
  std::unique_ptr<net_test::nginx_server> server;

  void SetUp() override {
    server = std::make_unique<net_test::nginx_server>(tmp.file("nginx"));
    ASSERT_TRUE(server->running()) << server->error;
    sh("mkdir -p '" + tmp.file("bin") + "' '" + tmp.file("home/.zephyra") + "' '" +
       tmp.file("disk") + "' && cp '" ZEPHYRA_BINARY_DIR "/zephyra-installer' '" +
       tmp.file("bin") + "/'");
    const std::string port = std::to_string(server->port);
    write_file(tmp.file("home/.zephyra/Zephyra Installer.prf"),
               "I\n8500 version\n_log_actions 1\n_proxy_host 127.0.0.1\n_proxy_port " + port +
                   "\n_proxy_port_int " + port + "\n");
  }

  std::string www(const std::string& rel = "") const { return server->www() + "/" + rel; }
  std::string disk(const std::string& rel = "") const { return tmp.file("disk/" + rel); }

  // The product folder of a release: files by path with their bytes; a
  // value starting "->" makes a link, the program file gets its own platform.
  std::string make_product(const std::string& name, const std::map<std::string, std::string>& files) {
    const std::string root = tmp.file("products/" + name + "/Zephyra");
    for (const auto& f : files) {
      const std::string path = root + "/" + f.first;
      sh("mkdir -p \"$(dirname '" + path + "')\"");
      if (f.second.rfind("->", 0) == 0) {
        EXPECT_EQ(symlink(f.second.substr(2).c_str(), path.c_str()), 0);
        continue;
      }
      write_file(path, f.second);
      chmod(path.c_str(), f.first == "Zephyra Linux" ? 0755 : 0644);
      timeval times[2] = {{kWhen, 0}, {kWhen, 0}};
      utimes(path.c_str(), times);
    }
    return root;
  }

  void publish(const std::string& name, const std::string& product, const std::string& previous = "",
               const std::string& mirrors = "--mirror 'good.example,/,Good mirror'") {
    const std::string cmd = "'" ZEPHYRA_BINARY_DIR "/zephyra-publish' --quiet --product '" + product +
                            "' --release " + name + " --out '" + www() + "' --platform 'Zephyra Linux=3' " +
                            mirrors + (previous.empty() ? "" : " --previous '" + previous + "'") +
                            " 2>&1; echo status=$?";
    const std::string out = sh(cmd);
    ASSERT_NE(out.find("status=0"), std::string::npos) << out;
  }

  run_result run(const std::string& folder, const std::string& options) {
    run_result r;
    FILE* p = popen(("HOME='" + tmp.file("home") + "' TMPDIR='" + tmp.path + "' '" +
                     tmp.file("bin/zephyra-installer") +
                     "' -path '" + folder + "' --console " + options + " </dev/null 2>&1")
                        .c_str(),
                    "r");
    char buf[4096];
    size_t n;
    while ((n = fread(buf, 1, sizeof buf, p)) > 0) r.out.append(buf, n);
    const int w = pclose(p);
    r.status = WIFEXITED(w) ? WEXITSTATUS(w) : 128 + WTERMSIG(w);
    return r;
  }
  // In the log of the latest run: each run starts it afresh.
  int log_count(const std::string& text) {
    const std::string log = read_file(tmp.file("bin/Log.txt"));
    int n = 0;
    for (size_t at = log.find(text); at != std::string::npos; at = log.find(text, at + 1)) ++n;
    return n;
  }
  // Every entry of the product is in the folder as published.
  void expect_holds(const std::string& folder, const std::string& product) {
    const std::set<std::string> have = listing(folder);
    for (const std::string& line : listing(product)) EXPECT_TRUE(have.count(line)) << line;
  }

  const std::map<std::string, std::string> kFiles = {
      {"Resources/fonts/fontmap.txt", "fonts v1\n"},
      {"Resources/big.dat", net_test::pattern_bytes(2 * 1000 * 1000 + 17, 1)},
      {"Instructions/Read Me.txt", "read me\n"},
      {"Instructions/readme", "->Read Me.txt"},
      {"Output/logbooks/empty.txt", ""},
      {"Airfoils/wing.afl", "wing 1\n"},
      {"Zephyra Linux", net_test::pattern_bytes(300000, 2)},
      {"Old/Sub/retired.txt", "to be withdrawn\n"},
      {"Keep/withdrawn.txt", "also withdrawn\n"},
      {"Keep/edited.txt", "withdrawn, and edited by the user\n"},
      {"Airfoils/edited.afl", "the user edits this one\n"},
  };
};

TEST_F(Console, AFreshInstallIsThePublishedProductUnderTheReleaseName) {
  const std::string product = make_product("8.60", kFiles);
  publish("8.60", product);

  const run_result r = run(disk(), "--agree");
  EXPECT_EQ(r.status, console_done) << r.out;
  EXPECT_NE(r.out.find("INSTALLATION COMPLETE!"), std::string::npos) << r.out;
  EXPECT_FALSE(net_test::exists(disk("Zephyra")));
  expect_holds(disk("8.60"), product);

  // Run again: the copy is recognised and nothing is left to do.
  const run_result again = run(disk("8.60/"), "");
  EXPECT_EQ(again.status, console_done) << again.out;
  EXPECT_NE(again.out.find("Your copy of Zephyra is already the latest version."), std::string::npos);
}

TEST_F(Console, WithoutATerminalTheAgreementOrAListOfANewerFormatEndsTheRun) {
  publish("8.60", make_product("8.60", kFiles));
  run_result r = run(disk(), "");
  EXPECT_EQ(r.status, console_refused) << r.out;
  EXPECT_NE(r.out.find("Use Zephyra for whatever you like."), std::string::npos);
  EXPECT_NE(r.out.find("--agree"), std::string::npos);
  EXPECT_FALSE(net_test::exists(disk("Zephyra")));

  write_file(www("serverlist.txt"), "I\n830\nSERVERS\nFINAL 8.60\nENDOFLIST\n");
  r = run(disk(), "--agree");
  EXPECT_EQ(r.status, console_bad_list) << r.out;
  EXPECT_NE(r.out.find("newer than I can understand"), std::string::npos) << r.out;

  EXPECT_EQ(run(disk(), "--changed=sometimes").status, console_bad_options);
}

// 8.60 is installed once; each answer then updates its own copy to 8.61, in
// which one file changed, one is new, three are withdrawn, and the user has
// edited one current and one withdrawn file and put a file of their own in a
// folder the release empties.
TEST_F(Console, AnUpdateFetchesOnlyTheChangesAndEachChangedAnswerDoesWhatItSays) {
  const std::string old_product = make_product("8.60", kFiles);
  publish("8.60", old_product);
  sh("mkdir '" + disk("golden") + "'");
  ASSERT_EQ(run(disk("golden/"), "--agree").status, console_done);
  const std::string golden = disk("golden/8.60");
  write_file(golden + "/Airfoils/edited.afl", "my own wing\n");
  write_file(golden + "/Keep/edited.txt", "my own notes\n");
  write_file(golden + "/Keep/mine.txt", "a file of the user\n");

  std::map<std::string, std::string> files = kFiles;
  files["Resources/fonts/fontmap.txt"] = "fonts v2, longer\n";
  files["Resources/new.txt"] = "new in 8.61\n";
  files["Zephyra Linux"] = net_test::pattern_bytes(300000, 3);  // a new program: the folder is renamed
  files.erase("Old/Sub/retired.txt");
  files.erase("Keep/withdrawn.txt");
  files.erase("Keep/edited.txt");
  const std::string product = make_product("8.61", files);
  publish("8.61", product, www("8.60/directory.txt.zip"));

  {
    SCOPED_TRACE("verify");
    const std::set<std::string> before = listing(golden);
    const run_result r = run(golden + "/", "--verify");
    EXPECT_EQ(r.status, console_done) << r.out;
    EXPECT_NE(r.out.find("fetch   " + golden + "/Resources/fonts/fontmap.txt"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("delete  " + golden + "/Old/Sub/retired.txt"), std::string::npos);
    EXPECT_NE(r.out.find("ask     " + golden + "/Airfoils/edited.afl (changed by hand)"), std::string::npos);
    EXPECT_NE(r.out.find("ask     " + golden + "/Keep/edited.txt (changed by hand, withdrawn)"), std::string::npos);
    EXPECT_NE(r.out.find("3 files to fetch"), std::string::npos) << r.out;
    EXPECT_EQ(listing(golden), before);
  }

  for (const std::string answer : {"keep", "overwrite", "cancel"}) {
    SCOPED_TRACE(answer);
    const std::string copy = disk(answer);
    sh("mkdir -p '" + copy + "' && cp -a '" + golden + "' '" + copy + "/'");
    const run_result r = run(copy + "/8.60/", "--agree --changed=" + answer);
    const int expanded = log_count("EXPANDING file ");

    if (answer == "cancel") {
      EXPECT_EQ(r.status, console_cancelled) << r.out;
      EXPECT_EQ(expanded, 0);
      EXPECT_EQ(read_file(copy + "/8.60/Resources/fonts/fontmap.txt"), "fonts v1\n");
      continue;
    }
    EXPECT_EQ(r.status, console_done) << r.out;
    const std::string done = copy + "/8.61";
    ASSERT_TRUE(net_test::exists(done)) << r.out;
    // Untouched old files are replaced without a question; nothing else is fetched.
    EXPECT_EQ(read_file(done + "/Resources/fonts/fontmap.txt"), "fonts v2, longer\n");
    EXPECT_EQ(read_file(done + "/Resources/new.txt"), "new in 8.61\n");
    EXPECT_EQ(expanded, answer == "overwrite" ? 4 : 3);
    EXPECT_FALSE(net_test::exists(done + "/Old"));
    EXPECT_FALSE(net_test::exists(done + "/Keep/withdrawn.txt"));
    EXPECT_EQ(read_file(done + "/Keep/mine.txt"), "a file of the user\n");
    if (answer == "keep") {
      EXPECT_EQ(read_file(done + "/Airfoils/edited.afl"), "my own wing\n");
      EXPECT_EQ(read_file(done + "/Keep/edited.txt"), "my own notes\n");
    } else {
      EXPECT_EQ(read_file(done + "/Airfoils/edited.afl"), "the user edits this one\n");
      EXPECT_FALSE(net_test::exists(done + "/Keep/edited.txt"));
      expect_holds(done, product);
    }
  }
}

// On a terminal the agreement and the question are asked and answered by
// typing; the question's answers go by the position of the label.
TEST_F(Console, OnATerminalTheAgreementAndTheQuestionAreAsked) {
  publish("8.60", make_product("8.60", kFiles));
  ASSERT_EQ(run(disk(), "--agree").status, console_done);
  write_file(disk("8.60/Airfoils/edited.afl"), "my own wing\n");

  const std::string cmd = "HOME='" + tmp.file("home") + "' TMPDIR='" + tmp.path + "' '" +
                          tmp.file("bin/zephyra-installer") +
                          "' -path '" + disk("8.60/") + "' --console";
  const std::string out =
      sh("printf 'yes\\n1\\n' | script -qec \"" + cmd + "\" /dev/null; echo status=$?");
  EXPECT_NE(out.find("Do you agree?"), std::string::npos) << out;
  EXPECT_NE(out.find("but it appears you have modified this file. What to do?"), std::string::npos);
  EXPECT_NE(out.find("1) OVERWRITE THE OLD FILE"), std::string::npos);
  EXPECT_NE(out.find("5) CANCEL THE WHOLE INSTALLATION!"), std::string::npos);
  EXPECT_NE(out.find("status=0"), std::string::npos) << out;
  // Without an answer the file would have been kept.
  EXPECT_EQ(read_file(disk("8.60/Airfoils/edited.afl")), "the user edits this one\n");
}

// No journal: a run killed while it writes a file is finished by the next.
// Off until unpacking writes beside the target and renames it into place:
// today the file cut short by the kill looks edited by hand and is kept.
TEST_F(Console, ARunKilledWhileWritingAFileIsFinishedByTheNext) {
  std::map<std::string, std::string> files = kFiles;
  files["Resources/huge.dat"] = net_test::pattern_bytes(24 * 1000 * 1000, 7);
  const std::string product = make_product("8.60", files);
  publish("8.60", product);

  const pid_t child = fork();
  if (child == 0) {
    setenv("HOME", tmp.file("home").c_str(), 1);
    setenv("TMPDIR", tmp.path.c_str(), 1);
    freopen("/dev/null", "w", stdout);
    const std::string bin = tmp.file("bin/zephyra-installer"), folder = disk();
    execl(bin.c_str(), bin.c_str(), "-path", folder.c_str(), "--console", "--agree",
          static_cast<char*>(nullptr));
    _exit(127);
  }
  // Killed as soon as the large file is being written.
  const bool appeared = net_test::poll_until(
      [&] {
        return net_test::exists(disk("Zephyra/Resources/huge.dat.part")) ||
               net_test::exists(disk("Zephyra/Resources/huge.dat"));
      },
      20000);
  kill(child, SIGKILL);
  int w = 0;
  waitpid(child, &w, 0);
  ASSERT_TRUE(appeared);
  ASSERT_TRUE(WIFSIGNALED(w));

  const run_result r = run(disk(), "--agree");
  EXPECT_EQ(r.status, console_done) << r.out;
  // The name comes with the program file; when the killed run had installed
  // it already, the next has no reason to rename.
  expect_holds(net_test::exists(disk("8.60")) ? disk("8.60") : disk("Zephyra"), product);
}

TEST_F(Console, AMirrorThatAnswers404HandsTheRunToAnother) {
  // The list is only on the bad mirror and the archives only on the good one,
  // so the run must fail on one and move to the other for both.
  const std::string product = make_product("8.60", kFiles);
  sh("mkdir -p '" + www("full") + "'");
  const std::string cmd = "'" ZEPHYRA_BINARY_DIR "/zephyra-publish' --quiet --product '" + product +
                          "' --release 8.60 --out '" + www("full") + "' --platform 'Zephyra Linux=3'"
                          " --mirror 'bad.example,/partial/,Bad' --mirror 'good.example,/full/,Good'";
  ASSERT_EQ(std::system((cmd + " >/dev/null").c_str()), 0);
  sh("mkdir -p '" + www("partial/8.60") + "' && mv '" + www("full/8.60/directory.txt.zip") + "' '" +
     www("partial/8.60/") + "' && mv '" + www("full/serverlist.txt") + "' '" + www() + "'");

  const run_result r = run(disk(), "--agree");
  EXPECT_EQ(r.status, console_done) << r.out;
  const size_t failed = r.out.find("I can NOT download the file '");
  const size_t complete = r.out.rfind("INSTALLATION COMPLETE!");
  EXPECT_NE(failed, std::string::npos) << r.out;
  EXPECT_NE(complete, std::string::npos);
  EXPECT_LT(failed, complete);
  expect_holds(disk("8.60"), product);
}

TEST_F(Console, ACorruptArchiveEndsWithTheFailureTexts) {
  publish("8.60", make_product("8.60", kFiles));
  write_file(www("8.60/Zephyra/Airfoils/wing.afl.zip"), "PK\x03\x04 not a zip at all");

  const run_result r = run(disk(), "--agree");
  EXPECT_EQ(r.status, console_failed) << r.out;
  EXPECT_NE(r.out.find("The installation was not completed because an error occurred."), std::string::npos)
      << r.out;
  EXPECT_NE(r.out.find("Zephyra is not fully installed or updated and may not run correctly."),
            std::string::npos);
}

}  // namespace
