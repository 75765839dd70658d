// Whole console runs of the built installer against published mirrors on
// nginx, through a private HOME's proxy setting and a copy of the program
// of its own (for its own Log.txt).
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <atomic>
#include <chrono>
#include <map>
#include <set>
#include <string>
#include <thread>

#include "../net/net_support.h"
#include "app/console.h"
#include "screens_support.h"

using net_test::read_file;
using net_test::write_file;

namespace {

// A file with its folders; bytes starting "->" make a link.
void put(const std::string& path, const std::string& bytes) {
  sh("mkdir -p \"$(dirname '" + path + "')\"");
  if (bytes.rfind("->", 0) == 0) EXPECT_EQ(symlink(bytes.c_str() + 2, path.c_str()), 0);
  else write_file(path, bytes);
}

// Every entry below root but folders: a link by its target, a file by mode, time and content.
std::set<std::string> entries(const std::string& root) {
  const std::string out = sh("cd '" + root + "' && find . -mindepth 1 ! -type d -exec sh -c 'for f; do "
                             "if [ -L \"$f\" ]; then echo \"$f -> $(readlink \"$f\")\"; "
                             "else echo \"$f $(stat -c %a.%Y \"$f\") $(md5sum < \"$f\")\"; fi; done' _ {} +");
  std::set<std::string> lines;
  for (size_t at = 0, nl; (nl = out.find('\n', at)) != std::string::npos; at = nl + 1)
    lines.insert(out.substr(at, nl - at));
  return lines;
}

class Console : public testing::Test {
 protected:
  net_test::scratch tmp;
  net_test::nginx_server server{tmp.file("nginx")};

  void SetUp() override {
    ASSERT_TRUE(server.running()) << server.error;
    sh("cd '" + tmp.path + "' && mkdir -p bin home/.zephyra disk && cp '" ZEPHYRA_BINARY_DIR
       "/zephyra-installer' bin/");
    write_file(tmp.file("home/.zephyra/Zephyra Installer.prf"), proxy_prefs(server.port) + "_log_actions 1\n");
  }

  std::string www(const std::string& rel = "") const { return server.www() + "/" + rel; }
  std::string disk(const std::string& rel = "") const { return tmp.file("disk/" + rel); }

  // Publishes a release's product folder and returns it.
  std::string publish(const std::string& name, const std::map<std::string, std::string>& files,
                      const std::string& previous = "",
                      const std::string& mirrors = "--mirror 'good.example,/,Good mirror'") {
    const std::string root = tmp.file("products/" + name + "/Zephyra");
    for (const auto& [rel, bytes] : files) put(root + "/" + rel, bytes);
    // An even second: zip keeps no finer time.
    sh("cd '" + root + "' && find . -type f -exec chmod 644 {} + -exec touch -d @1577934246 {} + && chmod 755 "
       "'Zephyra Linux'");
    EXPECT_EQ(publish_release(root, name, www(), "--platform 'Zephyra Linux=3' " + mirrors +
                                                  (previous.empty() ? "" : " --previous '" + previous + "'")),
              "");
    return root;
  }

  std::string command(const std::string& folder, const std::string& options) const {
    return "env HOME='" + tmp.file("home") + "' TMPDIR='" + tmp.path + "' '" + tmp.file("bin/zephyra-installer") +
           "' -path " + (folder.empty() ? "" : "'" + folder + "'") + " --console " + options;
  }
  // Status and output of a run; typed keys go through a terminal. A hung run
  // ends as 124; on the terminal timeout must keep the run in the foreground
  // group, or its first read stops it.
  std::pair<int, std::string> run(const std::string& folder, const std::string& options,
                                  const std::string& typed = "") {
    const std::string run = std::string(typed.empty() ? "timeout 120 " : "timeout --foreground 120 ") +
                            command(folder, options);
    const std::string cmd = typed.empty() ? run + " </dev/null 2>&1"
                                          : "printf '" + typed + "' | script -qec \"" + run + "\" /dev/null";
    const std::string out = sh(cmd + "; echo \"status=$?\"");
    const size_t at = out.rfind("status=");
    return {std::atoi(out.c_str() + at + 7), out.substr(0, at)};
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

TEST_F(Console, RunsThatCannotGoOnSayWhyAndEndWithTheirStatus) {
  publish("8.60", kFiles);
  // A mirror file named is replaced for this run and the later ones. The
  // statuses are numbers, as scripts and the manual know them.
  struct { const char *options, *file, *bytes; int status; const char* says; } const cases[] = {
      {"", nullptr, nullptr, 2, "run again with --agree"},
      {"--changed=sometimes", nullptr, nullptr, 5, "--changed takes ask"},
      {"--agree", "8.60/Zephyra/Airfoils/wing.afl.zip", "PK\x03\x04 not a zip at all", 1,
       "The installation was not completed because an error occurred."},
      {"--agree", "serverlist.txt", "I\n830\nSERVERS\nFINAL 8.60\nENDOFLIST\n", 4,
       "download section of http://www.vantrell.example/zephyra/download.html"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.says);
    if (c.file) write_file(www(c.file), c.bytes);
    const auto [status, out] = run(disk(), c.options);
    EXPECT_EQ(status, c.status) << out;
    EXPECT_NE(out.find(c.says), std::string::npos) << out;
  }
}

// 8.60's list is only on the first mirror and its archives only on the
// second. Each way of answering updates its own copy to 8.61: one file
// changed, one new, three withdrawn; the user edited one current and one
// withdrawn file and added one in a folder the release empties.
TEST_F(Console, AFreshInstallAndItsUpdateFetchOnlyWhatIsNeeded) {
  publish("8.60", kFiles, "",
          "--mirror 'bad.example,/partial/,Bad' --mirror 'good.example,/,Good'");
  sh("mkdir -p '" + www("partial/8.60") + "' '" + disk("golden") + "' && mv '" + www("8.60/directory.txt.zip") +
     "' '" + www("partial/8.60/") + "'");
  const auto fresh = run(disk("golden/"), "--agree");
  EXPECT_EQ(fresh.first, console_done) << fresh.second;
  const size_t failed = fresh.second.find("I can NOT download the file '");
  EXPECT_NE(failed, std::string::npos) << fresh.second;
  EXPECT_LT(failed, fresh.second.rfind("INSTALLATION COMPLETE!"));
  const std::string golden = disk("golden/8.60");
  ASSERT_FALSE(net_test::exists(disk("golden/Zephyra")));
  const auto again = run(golden + "/", "");
  EXPECT_EQ(again.first, console_done) << again.second;
  EXPECT_NE(again.second.find("Your copy of Zephyra is already the latest version."), std::string::npos);
  write_file(golden + "/Airfoils/edited.afl", "my own wing\n");
  write_file(golden + "/Keep/edited.txt", "my own notes\n");
  write_file(golden + "/Keep/mine.txt", "a file of the user\n");

  std::map<std::string, std::string> files = kFiles;
  files["Resources/fonts/fontmap.txt"] = "fonts v2, longer\n";
  files["Resources/new.txt"] = "new in 8.61\n";
  files["Zephyra Linux"] = net_test::pattern_bytes(300000, 3);  // a new program: the folder is renamed
  for (const char* gone : {"Old/Sub/retired.txt", "Keep/withdrawn.txt", "Keep/edited.txt"}) files.erase(gone);
  const std::string product = publish("8.61", files, www("partial/8.60/directory.txt.zip"));

  const std::set<std::string> before = entries(golden);
  const auto [status, out] = run(golden + "/", "--verify");
  EXPECT_EQ(status, console_done) << out;
  for (const std::string& line : {"fetch   " + golden + "/Resources/fonts/fontmap.txt",
                                 "delete  " + golden + "/Old/Sub/retired.txt",
                                 "ask     " + golden + "/Airfoils/edited.afl (changed by hand)",
                                 "ask     " + golden + "/Keep/edited.txt (changed by hand, withdrawn)",
                                 std::string("3 files to fetch")})
    EXPECT_NE(out.find(line), std::string::npos) << line << "\n" << out;
  EXPECT_EQ(entries(golden), before);

  auto entry = [](const std::set<std::string>& lines, const std::string& path) {
    for (const std::string& line : lines)
      if (line.rfind("./" + path + " ", 0) == 0) return line;
    return std::string();
  };
  // Typed answers go by the position of their labels.
  for (const std::string answer : {"keep", "overwrite", "cancel", "typed"}) {
    SCOPED_TRACE(answer);
    const std::string copy = disk(answer);
    sh("mkdir -p '" + copy + "' && cp -a '" + golden + "' '" + copy + "/'");
    const auto [status, out] = answer == "typed" ? run(copy + "/8.60/", "", "yes\\n1\\n1\\n")
                                                 : run(copy + "/8.60/", "--agree --changed=" + answer);
    for (const char* text : {"Do you agree?", "but it appears you have modified this file. What to do?",
                             "1) OVERWRITE THE OLD FILE", "5) CANCEL THE WHOLE INSTALLATION!"})
      EXPECT_EQ(out.find(text) != std::string::npos, answer == "typed") << text << "\n" << out;
    const int expanded = std::atoi(sh("grep -c 'EXPANDING file ' '" + tmp.file("bin/Log.txt") + "'").c_str());
    if (answer == "cancel") {
      EXPECT_EQ(status, console_cancelled) << out;
      EXPECT_EQ(expanded, 0);
      EXPECT_EQ(entries(copy + "/8.60"), before);
      continue;
    }
    EXPECT_EQ(status, console_done) << out;
    const bool keep = answer == "keep";
    EXPECT_EQ(expanded, keep ? 3 : 4);
    std::set<std::string> want = entries(product);
    want.insert(entry(before, "Keep/mine.txt"));
    if (keep) {
      want.erase(entry(want, "Airfoils/edited.afl"));
      want.insert({entry(before, "Airfoils/edited.afl"), entry(before, "Keep/edited.txt")});
    }
    EXPECT_EQ(entries(copy + "/8.61"), want);
    EXPECT_FALSE(net_test::exists(copy + "/8.61/Old"));
  }
}

// No journal: a run killed while it writes a file is finished by the next.
TEST_F(Console, ARunKilledWhileWritingAFileIsFinishedByTheNext) {
  std::map<std::string, std::string> files = kFiles;
  files["Resources/huge.dat"] = net_test::pattern_bytes(24 * 1000 * 1000, 7);
  const std::string product = publish("8.60", files);

  const std::string cmd = "exec " + command(disk(), "--agree") + " >/dev/null";
  const pid_t child = fork();
  if (child == 0) {
    execl("/bin/sh", "sh", "-c", cmd.c_str(), static_cast<char*>(nullptr));
    _exit(127);
  }
  const std::string huge = disk("Zephyra/Resources/huge.dat");
  const bool appeared = net_test::poll_until(
      [&] { return net_test::exists(huge + ".part") || net_test::exists(huge); }, 20000);
  kill(child, SIGKILL);
  int w = 0;
  waitpid(child, &w, 0);
  ASSERT_TRUE(appeared);
  ASSERT_TRUE(WIFSIGNALED(w));

  const auto [status, out] = run(disk(), "--agree");
  EXPECT_EQ(status, console_done) << out;
  // The killed run may have installed the program file, which brings the name.
  EXPECT_EQ(entries(net_test::exists(disk("8.60")) ? disk("8.60") : disk("Zephyra")), entries(product));
}

// Hand-written lists and archives, as anyone on the way could serve them.
class HostileMirror : public Console {
 protected:
  void SetUp() override {
    Console::SetUp();
    write_file(www("serverlist.txt"), "I\n820\nSERVERS\nFINAL 8.60\nSERVER good.example\n/\nGood\nENDOFLIST\n");
    sh("mkdir -p '" + www("8.60") + "' && cd '" + disk() + "' && mkdir -p inst outside/fonts && echo v > outside/victim.txt && echo f > outside/fonts/victim.txt");
  }
  // A row wanted afresh; rows withdrawing a file that had old's signature.
  static std::string row(const std::string& name) { return "FILE 0 0 840 1 1 0123456789abcdef0123456789abcdef " + name + "\n"; }
  std::string gone(const std::string& name, const std::string& old) {
    return "FILE 0 0 810 1 1 " + sh("md5sum < '" + disk(old) + "'").substr(0, 32) + " " + name + "\nFILE 0 0 840 0 0 GONE " + name + "\n";
  }
  void put_list(const std::string& rows) {
    write_file(www("8.60/directory.txt"), "I\n840 hand-written\nINSTALLER\n" + rows);
    sh("cd '" + www("8.60") + "' && rm -f directory.txt.zip && zip -q directory.txt.zip directory.txt");
  }
  // One file's archive; a link when bytes starts with "->".
  void put_file(const std::string& rel, const std::string& bytes) {
    const std::string dir = tmp.file("pack/" + rel), name = rel.substr(rel.rfind('/') + 1);
    put(dir + "/" + name, bytes);
    sh("mkdir -p \"$(dirname '" + www("8.60/" + rel) + "')\" && cd '" + dir + "' && zip -qy '" + www("8.60/" + rel) +
       ".zip' '" + name + "'");
  }
};

TEST_F(HostileMirror, NothingAroundTheFolderIsCreatedReplacedOrDeleted) {
  auto around = [&] { return sh("cd '" + disk() + "' && find . -path ./inst -prune -o -print -type f -exec md5sum {} + | sort"); };
  const std::string before = around();
  // Rows that climb out by any separator, or start at the root, refuse the list.
  const struct { std::string rows; const char* named; } lists[] = {
      {"DIR Zephyra:..:..:victimdir:\n" + row("planted.txt"), "Zephyra/../../victimdir/planted.txt"},
      {"DIR Zephyra\\sub/..\\..:..:victimdir/\n" + row("planted.txt"), "Zephyra/sub/../../../victimdir/planted.txt"},
      {"DIR :Zephyra:\n" + row("planted.txt"), "/Zephyra/planted.txt"},
      {"DIR Zephyra:..:..:outside:\n" + gone("victim.txt", "outside/victim.txt"), "Zephyra/../../outside/victim.txt"},
  };
  for (const auto& l : lists) {
    put_list(l.rows);
    const auto [status, out] = run(disk("inst/"), "--agree");
    EXPECT_EQ(status, console_bad_list) << out;
    EXPECT_NE(out.find("It is:\n\n" + std::string(l.named)), std::string::npos) << out;
  }
  // A link out is refused from a release, and one an older run left is
  // neither written nor deleted through.
  put_file("Zephyra/Resources/fonts", "->../../../outside/fonts");
  put_file("Zephyra/Resources/fonts/a.txt", "a\n");
  put_file("Zephyra/Resources/fonts/new/b.txt", "b\n");
  put_list("DIR Zephyra:Resources:\n" + row("fonts"));
  EXPECT_EQ(run(disk("inst/"), "--agree").first, console_failed);
  put_list("DIR Zephyra:Resources:fonts:\n" + gone("victim.txt", "outside/fonts/victim.txt") + row("a.txt") +
           "DIR Zephyra:Resources:fonts:new:\n" + row("b.txt"));
  EXPECT_EQ(run(disk("inst/"), "--agree").first, console_done);
  EXPECT_EQ(read_file(disk("inst/Zephyra/Resources/fonts/new/b.txt")), "b\n");
  sh("cd '" + disk("inst/Zephyra/Resources") + "' && rm -r fonts && ln -s ../../../outside/fonts fonts");
  EXPECT_EQ(run(disk("inst/"), "--agree").first, console_failed);
  EXPECT_EQ(around(), before);
}

// A server that refuses is asked less and less often, and a run that hears
// nothing for --wait seconds ends with its own status.
TEST_F(Console, ARefusingServerIsAskedLessOftenUntilTheWaitRunsOut) {
  EXPECT_EQ(run("", "").first, console_bad_options);  // "-path" with no folder after it
  net_test::script_server refuser;
  write_file(tmp.file("home/.zephyra/Zephyra Installer.prf"), proxy_prefs(refuser.port));
  std::atomic<bool> over{false};
  int requests = 0;
  std::thread answers([&] {
    while (!over)
      if (!refuser.request([] {}, 100).empty()) {
        ++requests;
        refuser.send("HTTP/1.1 403 Forbidden\r\nContent-Length: 0\r\n\r\n");
        refuser.hang_up();
      }
  });
  const auto start = std::chrono::steady_clock::now();
  const auto [status, out] = run(disk(), "--agree --wait=3");
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  over = true;
  answers.join();
  EXPECT_EQ(status, 6) << out;
  EXPECT_LT(requests / seconds, 2.0) << requests << " requests in " << seconds << " s";
  EXPECT_GE(seconds, 3.0);
  EXPECT_NE(out.find("No server has sent anything for 3 seconds; giving up."), std::string::npos);
}

}  // namespace
