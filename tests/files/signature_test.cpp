// MD5 against the published test suite, and file signatures against md5sum.
#include "files/signature.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <random>
#include <vector>

#include "files/paths.h"

namespace {

std::string hex(const MD5_CTX& c) {
  char buf[33];
  for (int i = 0; i < 16; ++i) snprintf(buf + 2 * i, 3, "%02x", c.digest[i]);
  return buf;
}

std::string md5_of(const std::string& s) {
  MD5_CTX c;
  MD5Init(&c);
  MD5Update(&c, reinterpret_cast<const unsigned char*>(s.data()), static_cast<unsigned>(s.size()));
  MD5Final(&c);
  return hex(c);
}

std::vector<unsigned char> noise(size_t n, unsigned seed) {
  std::mt19937 gen(seed);
  std::vector<unsigned char> v(n);
  for (auto& b : v) b = static_cast<unsigned char>(gen());
  return v;
}

TEST(MD5, PublishedTestSuite) {
  EXPECT_EQ(md5_of(""), "d41d8cd98f00b204e9800998ecf8427e");
  EXPECT_EQ(md5_of("a"), "0cc175b9c0f1b6a831c399e269772661");
  EXPECT_EQ(md5_of("abc"), "900150983cd24fb0d6963f7d28e17f72");
  EXPECT_EQ(md5_of("message digest"), "f96b697d7cb7938d525a2f31aaf161d0");
  EXPECT_EQ(md5_of("abcdefghijklmnopqrstuvwxyz"), "c3fcd3d76192e4007dfb496cca67e13b");
  EXPECT_EQ(md5_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"),
            "d174ab98d277d9f5a5611c2c9f419d9f");
  EXPECT_EQ(md5_of("12345678901234567890123456789012345678901234567890123456789012345678901234567890"),
            "57edf4a22be3c955ac49da2e2107b67a");
}

// However the bytes are cut into updates, the digest is that of feeding them
// one at a time.
TEST(MD5, SplitsLeaveNoTrace) {
  const auto data = noise(200003, 7);
  MD5_CTX one;
  MD5Init(&one);
  for (unsigned char b : data) MD5Update(&one, &b, 1);
  MD5Final(&one);
  const std::string want = hex(one);

  const unsigned cuts[] = {3, 55, 56, 63, 64, 65, 127, 4096, 65535, 65536, 65537};
  for (unsigned cut : cuts) {
    MD5_CTX c;
    MD5Init(&c);
    for (size_t at = 0; at < data.size(); at += cut) {
      unsigned n = static_cast<unsigned>(std::min<size_t>(cut, data.size() - at));
      if (cut % 2)
        MD5Update(&c, data.data() + at, n);
      else
        MD5UpdateWide(&c, data.data() + at, n);
    }
    MD5Final(&c);
    EXPECT_EQ(hex(c), want) << "cut " << cut;
  }

  MD5_CTX w;
  MD5Init(&w);
  MD5UpdateWide(&w, data.data(), 0);  // nothing
  MD5UpdateWide(&w, data.data(), static_cast<uint32_t>(data.size()));
  MD5UpdateWide(&w, nullptr, 0);
  MD5Final(&w);
  EXPECT_EQ(hex(w), want);
}

// The bit count carries from the low into the high word.
TEST(MD5, BitCountCarries) {
  MD5_CTX c;
  MD5Init(&c);
  c.count[0] = 0xFFFFFE00u;  // 64 bytes short of the carry, block-aligned
  const auto data = noise(192, 3);
  MD5UpdateWide(&c, data.data(), 192);
  EXPECT_EQ(c.count[0], 0x400u);
  EXPECT_EQ(c.count[1], 1u);
}

class FileSigTest : public ::testing::Test {
 protected:
  std::string root;
  void SetUp() override {
    char tmpl[] = "/tmp/zephyra_sig_XXXXXX";
    ASSERT_NE(mkdtemp(tmpl), nullptr);
    root = tmpl;
    g_case_sensitive = 1;
    app_path.clear();
  }
  void TearDown() override { ASSERT_EQ(system(("rm -rf '" + root + "'").c_str()), 0); }

  std::string md5sum_of(const std::string& path) {
    FILE* p = popen(("md5sum '" + path + "'").c_str(), "r");
    if (!p) return "popen failed";
    char buf[256] = {0};
    if (!fgets(buf, sizeof buf, p)) buf[0] = 0;
    pclose(p);
    return std::string(buf).substr(0, 32);
  }
};

TEST_F(FileSigTest, AgreesWithMd5sumAcrossBlockAndRunEdges) {
  const size_t sizes[] = {0, 1, 55, 56, 63, 64, 65, 65535, 65536, 65537, 3 * 1024 * 1024 + 17};
  for (size_t n : sizes) {
    const std::string path = root + "/f" + std::to_string(n) + ".bin";
    const auto data = noise(n, static_cast<unsigned>(n));
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(data.data()), n);
    std::string sig = "NONE";
    EXPECT_EQ(calc_file_md5(path, sig), 0) << n;
    EXPECT_EQ(sig, md5sum_of(path)) << n;
    EXPECT_EQ(sig.size(), 32u);
  }
  std::string sig;
  ASSERT_EQ(calc_file_md5(root + "/f0.bin", sig), 0);
  EXPECT_EQ(sig, "d41d8cd98f00b204e9800998ecf8427e");
}

TEST_F(FileSigTest, PathStylesAndLinks) {
  ASSERT_EQ(mkdir((root + "/Resources").c_str(), 0755), 0);
  const std::string real = root + "/Resources/Data.txt";
  std::ofstream(real, std::ios::binary) << "abc";
  std::string sig;
  ASSERT_EQ(calc_file_md5(root + ":resources:DATA.TXT", sig), 0);
  EXPECT_EQ(sig, "900150983cd24fb0d6963f7d28e17f72");

  // Through a link the target is signed; a dangling link can't be opened.
  ASSERT_EQ(symlink(real.c_str(), (root + "/link").c_str()), 0);
  ASSERT_EQ(symlink((root + "/gone").c_str(), (root + "/dangling").c_str()), 0);
  sig.clear();
  EXPECT_EQ(calc_file_md5(root + "/link", sig), 0);
  EXPECT_EQ(sig, "900150983cd24fb0d6963f7d28e17f72");
  sig = "NONE";
  EXPECT_EQ(calc_file_md5(root + "/dangling", sig), 20006);
  EXPECT_EQ(sig, "NONE");
}

TEST_F(FileSigTest, UnreadableLeavesSignatureAlone) {
  std::string sig = "NONE";
  EXPECT_EQ(calc_file_md5(root + "/missing.bin", sig), 20006);
  EXPECT_EQ(sig, "NONE");
  sig = "previous";
  EXPECT_EQ(calc_file_md5(root + "/no/such/folder/x", sig), 20006);
  EXPECT_EQ(sig, "previous");
}

}  // namespace
