#include "files/signature.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <random>
#include <vector>

#include "files/paths.h"
#include "temp_log.h"

namespace {

std::string hex(const MD5_CTX& c) {
  char buf[33];
  for (int i = 0; i < 16; ++i) snprintf(buf + 2 * i, 3, "%02x", c.digest[i]);
  return buf;
}

std::vector<unsigned char> noise(size_t n, unsigned seed) {
  std::mt19937 gen(seed);
  std::vector<unsigned char> v(n);
  for (auto& b : v) b = static_cast<unsigned char>(gen());
  return v;
}

// However the bytes are cut into updates, by either entry, the digest is
// that of feeding them one at a time.
TEST(MD5, SplitsLeaveNoTraceAndTheCountCarries) {
  const auto data = noise(200003, 7);
  MD5_CTX one;
  MD5Init(&one);
  for (unsigned char b : data) MD5Update(&one, &b, 1);
  MD5Final(&one);
  for (unsigned cut : {55u, 56u, 63u, 64u, 65u, 65535u, 65536u, 65537u}) {
    MD5_CTX c;
    MD5Init(&c);
    for (size_t at = 0; at < data.size(); at += cut) {
      unsigned n = static_cast<unsigned>(std::min<size_t>(cut, data.size() - at));
      (cut % 2 ? MD5Update : MD5UpdateWide)(&c, data.data() + at, n);
    }
    MD5Final(&c);
    EXPECT_EQ(hex(c), hex(one)) << "cut " << cut;
  }
  // Past 512 MiB the bit count carries into its high word.
  const std::vector<unsigned char> mib(1 << 20);
  MD5_CTX c;
  MD5Init(&c);
  for (int i = 0; i < 513; ++i) MD5UpdateWide(&c, mib.data(), 1 << 20);
  MD5Final(&c);
  EXPECT_EQ(hex(c), "f3a8799d64129a6fd8a5aa56f199ac54");  // md5sum of 513 MiB of zeros
}

TEST(FileSignature, AgreesWithMd5sumTakesColonPathsAndLeavesUnreadableOnesAlone) {
  temp_dir dir;
  g_case_sensitive = 1;
  for (size_t n : {0, 55, 64, 65535, 65536, 65537, 3 * 1024 * 1024 + 17}) {
    const std::string path = dir.file("f" + std::to_string(n) + ".bin");
    const auto data = noise(n, static_cast<unsigned>(n));
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(data.data()), n);
    std::string sig = "NONE";
    EXPECT_EQ(calc_file_md5(path, sig), 0) << n;
    FILE* p = popen(("md5sum '" + path + "'").c_str(), "r");
    char want[33] = {0};
    ASSERT_EQ(fread(want, 1, 32, p), 32u);
    pclose(p);
    EXPECT_EQ(sig, want) << n;
  }
  ASSERT_EQ(mkdir(dir.file("Resources").c_str(), 0755), 0);
  std::ofstream(dir.file("Resources/Data.txt")) << "abc";
  ASSERT_EQ(symlink(dir.file("gone").c_str(), dir.file("dangling").c_str()), 0);
  std::string sig;
  EXPECT_EQ(calc_file_md5(dir.path + ":resources:DATA.TXT", sig), 0);
  EXPECT_EQ(sig, "900150983cd24fb0d6963f7d28e17f72");
  // Whatever can't be opened leaves the caller's signature alone.
  for (std::string path : {dir.file("dangling"), dir.file("no/such/folder/x")}) {
    sig = "previous";
    EXPECT_EQ(calc_file_md5(path, sig), 20006) << path;
    EXPECT_EQ(sig, "previous");
  }
}

}  // namespace
