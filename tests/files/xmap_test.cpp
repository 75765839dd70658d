// The scanner is the grammar of every text file, so it is pinned byte by byte.
#include "files/xmap.h"

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <cstring>
#include <memory>
#include <vector>

#include "temp_log.h"

namespace {

using namespace std::string_literals;
using Map = std::unique_ptr<xmap_class>;

class Xmap : public ::testing::Test {
 protected:
  temp_dir dir;
  int count = 0;
  std::vector<std::pair<void*, size_t>> guards;
  std::vector<Map> plugs;

  void TearDown() override {
    for (auto& g : guards) munmap(g.first, g.second);
  }
  std::string put(const std::string& bytes) {
    std::string path = dir.file("f" + std::to_string(count++));
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
  }
  Map open(const std::string& bytes) { return std::make_unique<xmap_class>(put(bytes)); }
  static long at(const Map& x) { return static_cast<long>(x->mem_ptr - x->mem_beg); }

  // A page-sized file ending in `tail`, mapped right below an inaccessible
  // page so any read past mem_end faults: mappings go top-down, so a hole is
  // cut below a guard page, and higher holes are plugged by earlier tries.
  Map open_at_page_end(const std::string& tail) {
    const size_t len = 4096;
    const std::string path = put(std::string(len - tail.size(), '\n') + tail);
    Map x;
    bool guarded = false;
    for (int attempt = 0; attempt < 64 && !guarded; ++attempt) {
      if (x) plugs.push_back(std::move(x));
      x = std::make_unique<xmap_class>("");
      void* r = mmap(nullptr, len + 4096, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
      if (r == MAP_FAILED) break;
      munmap(r, len);
      guards.emplace_back(static_cast<char*>(r) + len, 4096);
      x->retry(path);
      for (const auto& g : guards) guarded |= x->mem_end == g.first;
    }
    EXPECT_TRUE(guarded) << "no guard page after the mapping";
    x->mem_ptr = x->mem_end - tail.size();
    return x;
  }
};

// One table drives every scan: i int, s int up to ',', u unsigned, d decimal,
// f float, e with exponent, ' ' word, ',' comma field, '\n' line, m match
// SERVERS (a line end after it allowed, as every caller asks).
std::string scanned(xmap_class& x, char kind) {
  double n = 0;
  std::string s = "old";
  switch (kind) {
    case 'i': n = x.TXT_int_scan(); break;
    case 's': n = x.TXT_int_scan_stop(','); break;
    case 'u': n = x.TXT_uin_scan(); break;
    case 'd': n = x.TXT_dob_scan(); break;
    case 'f': n = x.TXT_flt_scan(); break;
    case 'e': n = x.TXT_dob_scan_sci(); break;
    case ' ': x.TXT_str_scan_space(&s); return s;
    case ',': x.TXT_str_scan_comma(&s); return s;
    case '\n': x.TXT_str_scan_eoln(&s); return s;
    default: return std::to_string(x.TXT_str_scan_match("SERVERS", 1));
  }
  char buf[32];
  snprintf(buf, sizeof buf, "%.10g", n);
  return buf;
}

TEST_F(Xmap, EmptyFailedAndFolder) {
  Map x = open("");
  ASSERT_NE(x->mem_beg, nullptr);  // a zero-length file is open and empty
  EXPECT_EQ(x->mem_beg, x->mem_end);
  // A failed retry drops the old file; the stale cursor must read as the end.
  x = open("hello\n");
  EXPECT_EQ(x->retry(dir.file("missing")), nullptr);
  EXPECT_EQ(scanned(*x, '\n'), "");
  EXPECT_EQ(x->check_file(file_type_text, nullptr, nullptr, nullptr), 0);
  // A folder reads as a file that can't be opened: no memory alert mid-scan.
  temp_log log;
  testing::internal::CaptureStdout();
  EXPECT_EQ(x->retry(dir.path), nullptr);
  EXPECT_EQ(testing::internal::GetCapturedStdout() + log.text(), "");
}

TEST_F(Xmap, Headers) {
  int versions[] = {810, 840, 0};
  std::string title;
  Map x = open("I\n840 Zephyra list\r\n\r\n  INSTALLER  rest\r\nfirst");
  EXPECT_EQ(x->check_file(file_type_text, versions, "INSTALLER", &title), 840);
  EXPECT_EQ(title, "Zephyra list");
  EXPECT_EQ(*x->mem_ptr, 'f');  // rest of the magic line and blank lines gone
  x = open("A junk\n810\nINSTALLER");  // any capital; magic as the very last bytes
  EXPECT_EQ(x->check_file(file_type_text, versions, "INSTALLER", nullptr), 810);
  x = open("I\n840\nINSTALLER2\n");
  EXPECT_EQ(x->check_file(file_type_text, versions, "INSTALLER", nullptr), 0);
  EXPECT_EQ(*x->mem_ptr, 'I');  // back at the word's start
  for (const char* bad : {"I\n850 newer\n", "i\n840\n", "I"})
    EXPECT_EQ(open(bad)->check_file(file_type_text, versions, nullptr, nullptr), 0) << bad;

}

TEST_F(Xmap, Scans) {
  // Any character inside a number counts as its code minus '0', as it always has.
  const struct { char kind; std::string text, want; long stop_at; } cases[] = {
      {'i', "  42 x", "42", 4},  {'i', "+-5", "-25", 3},     {'i', "- 5", "0", 1},     {'i', "\n5", "0", 0},
      {'i', "5\0z"s, "5", 1},    {'s', "12,34", "12", 3},    {'s', "12\n,", "12", 2},  {'u', "-5", "5", 2},
      {'d', "1.2.3", "1.23", 5}, {'d', "2.5e-3", "-3.033", 6}, {'e', "2.5e-3", "0.0025", 6}, {'e', "1e 5", "100000", 4},
      {'e', "-1.5e-+2", "-150", 8}, {' ', "  abc\tdef", "abc", 5}, {' ', "\nx", "", 0},  // on a line end: empty, no move
      {',', "a b , c", "a b ", 5},  {',', "y", "y", 2},  // steps once even off the end
      {'\n', "abc  \r\n\r\n   def", "abc  ", 12}, {'\n', "ab\0cd"s, "ab", 3},
      {'m', "  SERVERS x", "1", 9},  {'m', "SERVERS\r\n", "1", 7}, {'m', "  SERVERS2", "0", 2}, {'m', "SERV", "0", 0},
  };
  for (const auto& c : cases) {
    Map x = open(c.text);
    EXPECT_EQ(scanned(*x, c.kind), c.want) << c.kind << " " << c.text;
    EXPECT_EQ(at(x), c.stop_at) << c.kind << " " << c.text;
  }
  // One past the end is the end for everybody.
  Map x = open("y");
  x->mem_ptr = x->mem_end + 1;
  for (char kind : {'i', 's', 'u', 'e', ' ', '\n'}) EXPECT_EQ(scanned(*x, kind), kind == ' ' || kind == '\n' ? "" : "0") << kind;
  EXPECT_EQ(x->TXT_str_scan_match("", 1), 1);  // the end reads as a line end
}

TEST_F(Xmap, ScansStopAtAPageEndWithoutReadingPast) {
  // The scans the list readers use.
  const struct { char kind; std::string tail, want; } cases[] = {
      {'i', "-123", "-123"}, {'i', "-", "0"}, {'m', "SERVERS", "1"}, {'m', "SERV", "0"},
      {'\n', "tail  ", "tail  "}, {' ', "word", "word"},
  };
  for (const auto& c : cases) EXPECT_EQ(scanned(*open_at_page_end(c.tail), c.kind), c.want) << c.tail;
  Map x = open_at_page_end("");
  x->mem_ptr = x->mem_beg;
  x->TXT_prv_scan();  // a whole page of line ends
  EXPECT_EQ(x->mem_ptr, x->mem_end);
}

}  // namespace
