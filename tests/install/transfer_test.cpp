// Whole runs against a real nginx mirror reached through the proxy setting:
// server list, directory list, then the streams until the folder is done.
#include "install/transfer.h"

#include <sys/time.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>

#include "../net/net_support.h"
#include "files/zip.h"
#include "install/folders.h"
#include "install/selection.h"
#include "install/servers.h"
#include "install_fixture.h"
#include "net/http.h"

using net_test::exists;
using net_test::write_file;

namespace {

struct product_file {
  std::string bytes;
  int os = 0;  // row_os of its row
  mode_t mode = 0644;
};
using release = std::map<std::string, product_file>;  // path below the product folder

std::vector<std::string> alerts;

struct Transfer : install_case {
  net_test::scratch net;
  std::unique_ptr<net_test::nginx_server> server;
  std::unique_ptr<net_test::proxy_to_loopback> proxy;
  const time_t kWhen = 1577934246;  // an even second, as zip keeps them

  void SetUp() override {
    install_case::SetUp();
    stg.log_actions = 1;
    alerts.clear();
    alert_hooks.show_screen = [](int, const std::string l[4], int, const std::string&) {
      alerts.push_back(l[0] + "|" + l[1] + "|" + l[2] + "|" + l[3]);
    };
    ogl_inited = 1;
    server = std::make_unique<net_test::nginx_server>(net.file("nginx"));
    ASSERT_TRUE(server->running()) << server->error;
    proxy = std::make_unique<net_test::proxy_to_loopback>(server->port);
    mkdir(net.file("user").c_str(), 0755);
    dest_dir_path = net.file("user/Zephyra/");
  }
  void TearDown() override {
    for (int s = 0; s < 6; ++s) net_test::drop_slot(s);
    install_case::TearDown();
  }

  std::string www(const std::string& rel) const { return server->www() + "/" + rel; }
  static void make_parent(const std::string& path) {
    std::system(("mkdir -p \"$(dirname '" + path + "')\"").c_str());
  }

  // Release `name` under /mirror/, with a good and a refusing mirror: one
  // archive per current file; a path's previous row first, "GONE" when withdrawn.
  void publish(const std::string& name, const release& now, const release& before = {}) {
    std::map<std::string, int> paths;
    for (const auto& f : before) paths[f.first];
    for (const auto& f : now) paths[f.first];
    std::string list = "I\n840 made by hand\nINSTALLER\n";
    for (const auto& p : paths) {
      const std::string& rel = p.first;
      const size_t cut = rel.rfind('/') + 1;  // npos + 1 is 0
      std::string folder = rel.substr(0, cut);
      for (char& c : folder) c = c == '/' ? ':' : c;
      list += "DIR Zephyra:" + folder + "\n";
      auto old = before.find(rel), cur = now.find(rel);
      if (old != before.end()) list += row(old->second, sign(name + "-old", rel, old->second), rel);
      if (cur == now.end()) {
        list += "FILE 0 0 840 0 0 GONE " + rel.substr(cut) + "\n";
        continue;
      }
      list += row(cur->second, sign(name, rel, cur->second), rel);
      const std::string archive = www("mirror/" + name + "/Zephyra/" + rel + ".zip");
      make_parent(archive);
      ASSERT_EQ(file_to_zip(net.file("stage/" + name + "/" + rel), archive), 0) << rel;
    }
    const std::string list_path = net.file("stage/" + name + "/directory.txt");
    write_file(list_path, list);
    ASSERT_EQ(file_to_zip(list_path, www("mirror/" + name + "/directory.txt.zip")), 0);
    write_file(www("serverlist.txt"), "I\n820\nSERVERS\nFINAL " + name +
                                          "\nSERVER good.example\n/mirror/\nGood mirror\n"
                                          "SERVER bad.example\n/nothing-here/\nBad mirror\n");
  }
  // Writes the file as published and returns its signature by md5sum.
  std::string sign(const std::string& name, const std::string& rel, const product_file& f) {
    const std::string staged = net.file("stage/" + name + "/" + rel);
    make_parent(staged);
    write_file(staged, f.bytes);
    chmod(staged.c_str(), f.mode);
    timeval times[2] = {{kWhen, 0}, {kWhen, 0}};
    utimes(staged.c_str(), times);
    return md5sum_of(staged);
  }
  static std::string row(const product_file& f, const std::string& sig, const std::string& rel) {
    const std::string kb = std::to_string(f.bytes.size() / 1000 + 1);
    return "FILE 0 " + std::to_string(f.os) + " 840 " + kb + " " + kb + " " + sig + " " +
           rel.substr(rel.rfind('/') + 1) + "\n";
  }

  // Set-up as the stage machine does it, up to START. Row 0 serves the list.
  void prepare() {
    stg.server_count = -1;
    ASSERT_TRUE(net_test::poll_until([] { return server_list_step() == 1; }));
    ASSERT_EQ(stg.server_count, 2);
    stg.server_index = 0;
    const std::string zip = temp_path + "directory.txt.zip";
    ASSERT_EQ(net_test::fetch(1, server_name[0], server_path[0] + "directory.txt.zip", zip), 1);
    ASSERT_EQ(zip_to_file(zip, temp_path, nullptr, 0), 0);
    ASSERT_EQ(read_directory(temp_path + "directory.txt", "Scanning"), 3);
    next.reset_all_streams();
    stg.install_failed = 0;
    make_dirs();
    ASSERT_EQ(choose_files(), 1);
  }
  // The passes of stage 1 until the run is over.
  // peak_under_way: the most kilobytes of unfinished archives in one pass.
  float peak_under_way = 0;
  int run() {
    int end = 0;
    EXPECT_TRUE(net_test::poll_until([&] {
      end = grab_files();
      peak_under_way = std::max(peak_under_way, next.bytes_done_a);
      return end != 0;
    }, 30000));
    next.reset_all_streams();
    return end;
  }
  int expanded() {
    int n = 0;
    for (size_t at = 0; (at = net.log().find("EXPANDING file ", at)) != std::string::npos; ++at) ++n;
    return n;
  }
  void expect_installed(const release& files) {
    for (const auto& f : files) {
      SCOPED_TRACE(f.first);
      const std::string path = dest_dir_path + f.first;
      EXPECT_TRUE(net_test::read_file(path) == f.second.bytes);
      struct stat st;
      ASSERT_EQ(stat(path.c_str(), &st), 0);
      EXPECT_EQ(st.st_mode & 07777, f.second.mode);
      EXPECT_EQ(st.st_mtime, kWhen);
    }
  }
  void expect_no_archives() {
    for (int s = 0; s < 4; ++s) EXPECT_FALSE(exists(temp_path + std::to_string(s) + ".zip")) << s;
  }

  const release kRelease1 = {
      {"Resources/fonts/fontmap.txt", {"fonts v1\n"}},
      {"Resources/big.dat", {net_test::pattern_bytes(3 * 1000 * 1000 + 17, 1)}},
      {"Instructions/manual one.txt", {"read me\n"}},
      {"Output/logbooks/empty.txt", {""}},
      {"Zephyra Linux", {net_test::pattern_bytes(400000, 2), 3, 0755}},
      {"Old/Sub/retired.txt", {"to be withdrawn\n"}},
      {"Keep/withdrawn.txt", {"also withdrawn\n"}},
  };
};

}  // namespace

TEST_F(Transfer, AFreshInstallThenAnUpdateThatFetchesOnlyTheChanges) {
  publish("8.60", kRelease1);
  prepare();
  EXPECT_EQ(this_install_has_exes, 1);  // the Linux program is in the run
  EXPECT_EQ(run(), 1);
  EXPECT_EQ(stg.install_failed + next.install_done, 1);
  // The big file (3001 kilobytes) arrives over many passes, one read each;
  // its share so far feeds the rate.
  EXPECT_GT(peak_under_way, 1500);
  // A finished run with a program in it takes the release's name.
  EXPECT_EQ(dest_dir_path, net.file("user/8.60/"));
  EXPECT_FALSE(exists(net.file("user/Zephyra")));
  expect_installed(kRelease1);
  EXPECT_EQ(expanded(), 7);
  expect_no_archives();
  EXPECT_TRUE(alerts.empty());

  write_file(dest_dir_path + "Keep/mine.txt", "the user's own\n");
  release r2 = kRelease1;
  r2["Resources/fonts/fontmap.txt"].bytes = "fonts v2, longer\n";
  r2.erase("Old/Sub/retired.txt");
  r2.erase("Keep/withdrawn.txt");
  r2["Resources/new.txt"] = {"new in 8.61\n"};
  publish("8.61", r2, kRelease1);
  this_install_has_exes = 0;  // the program is unchanged: no rename this time
  prepare();
  EXPECT_EQ(run(), 1);
  EXPECT_EQ(expanded(), 7 + 2);  // the changed file and the new one
  expect_installed(r2);
  EXPECT_FALSE(exists(dest_dir_path + "Old"));  // emptied, with its parent
  EXPECT_TRUE(exists(dest_dir_path + "Keep/mine.txt"));
  EXPECT_FALSE(exists(dest_dir_path + "Keep/withdrawn.txt"));
  EXPECT_EQ(dest_dir_path, net.file("user/8.60/"));
  // Children are removed before their parents.
  const std::string log = net.log();
  const size_t child = log.find("cleanup: DELETING  file " + dest_dir_path + "Old/Sub/");
  const size_t parent = log.find("cleanup: DELETING  file " + dest_dir_path + "Old/,");
  EXPECT_NE(parent, std::string::npos);
  EXPECT_LT(child, parent);
}

TEST_F(Transfer, ARefusingMirrorMovesTheRunToAnotherAndItStillFinishes) {
  publish("8.60", kRelease1);
  prepare();
  // Both rows refuse at first, so the failure shows for certain (on loopback
  // a refusal and a success can otherwise fall into one pass).
  const std::string good = server_path[0];
  server_path[0] = server_path[1];
  ASSERT_TRUE(net_test::poll_until([] { return grab_files(), stg.file_failed == 1; }));
  EXPECT_NE(crnt_file_path.find("/nothing-here/"), std::string::npos);
  server_path[0] = good;
  EXPECT_EQ(run(), 1);
  EXPECT_EQ(stg.file_failed + stg.install_failed, 0);  // cleared by the next success
  expect_installed(kRelease1);
  EXPECT_NE(net.log().find("HTTP Error for"), std::string::npos);
}

TEST_F(Transfer, ACorruptArchiveFailsTheRunAndIsRemoved) {
  publish("8.60", kRelease1);
  write_file(www("mirror/8.60/Zephyra/Instructions/manual one.txt.zip"), "PK\003\004 no archive");
  prepare();
  EXPECT_NE(run(), 0);
  EXPECT_EQ(stg.install_failed, 1);
  ASSERT_EQ(alerts.size(), 1u);
  EXPECT_EQ(alerts[0].rfind("The installer cannot extract a file.|Error: ", 0), 0u);
  EXPECT_NE(alerts[0].find("|Compressed File: " + temp_path), std::string::npos);
  EXPECT_NE(alerts[0].find("|Destination: " + dest_dir_path + "Instructions/manual one.txt"),
            std::string::npos);
  EXPECT_FALSE(exists(dest_dir_path + "Instructions/manual one.txt"));
  expect_no_archives();
  EXPECT_EQ(dest_dir_path, net.file("user/Zephyra/"));  // a failed run is not renamed
}

// Deletions alone, no network: emptied folders go, children before parents,
// but never the user's own file nor the destination itself.
TEST_F(Transfer, DeletionsCleanUpFoldersButNeverTheDestination) {
  dest_dir_path = tmp.mkdirs("Zephyra/");
  tmp.put("Zephyra/top.txt", "x");
  tmp.put("Zephyra/A/B/C/deep.txt", "x");
  tmp.put("Zephyra/Mine/theirs.txt", "x");
  tmp.put("Zephyra/Mine/user notes.txt", "keep me");
  for (const char* p : {"Zephyra/top.txt", "Zephyra/A/B/C/deep.txt", "Zephyra/Mine/theirs.txt"}) {
    sim_info.push_back({{0, 0, 0, 0, 0, "GONE", "", p, 0, 0, 1}});
  }
  next.reset_all_streams();
  EXPECT_EQ(run(), 1);
  EXPECT_FALSE(tmp.exists("Zephyra/top.txt"));
  EXPECT_FALSE(tmp.exists("Zephyra/A"));
  EXPECT_FALSE(tmp.exists("Zephyra/Mine/theirs.txt"));
  EXPECT_TRUE(tmp.exists("Zephyra/Mine/user notes.txt"));
  EXPECT_TRUE(tmp.exists("Zephyra/"));
  // The file directly in the destination recorded no folder.
  EXPECT_EQ(deleted_files.count(dest_dir_path), 0u);
  EXPECT_EQ(deleted_files.size(), 4u);  // A/, A/B/, A/B/C/, Mine/

  // A release name from the server that is no plain name moves nothing.
  std::string scratch_leaf;
  get_file_with_path(scratch_leaf, tmp.path);
  install_name = "../" + scratch_leaf + "moved";
  this_install_has_exes = stg.rename_folder = 1;
  next.reset_all_streams();
  EXPECT_EQ(run(), 1);
  EXPECT_TRUE(tmp.exists("Zephyra/") && !tmp.exists("moved"));
}

// A row's size caps its member, so a hostile archive can't unpack a bomb
// under an empty or small file; only a size the list never gave falls back.
TEST(MemberCap, FollowsTheRowsSizeEvenAtZero) {
  EXPECT_EQ(member_cap(0), 64UL * 1024);
  EXPECT_EQ(member_cap(1), 65UL * 1024);
  EXPECT_EQ(member_cap(-1), kListMemberCap);
  EXPECT_EQ(member_cap(std::nanf("")), kListMemberCap);
  EXPECT_EQ(member_cap(1e30f), 4000000000000000000UL);
}
