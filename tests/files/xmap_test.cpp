// The scanner's rules at blanks, line ends and the end of the data are the
// grammar of every text file of the system, so they are pinned byte by byte.
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

  // A file of whole pages ending in `tail`, mapped right below an inaccessible
  // page so that any read past mem_end faults. New mappings go top-down, so a
  // hole is cut just below a guard page for the file to land in; a higher hole
  // left by earlier tests is plugged by keeping that try mapped.
  Map open_at_page_end(const std::string& tail, int pages = 1) {
    const size_t len = static_cast<size_t>(pages) * 4096;
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

// One entry point per family of scans, so one table can drive them all.
double scan(xmap_class& x, char kind) {
  switch (kind) {
    case 'i': return x.TXT_int_scan();
    case 's': return x.TXT_int_scan_stop(',');
    case 'u': return x.TXT_uin_scan();
    case 'd': return x.TXT_dob_scan();
    case 'f': return x.TXT_flt_scan();
    default: return x.TXT_dob_scan_sci();
  }
}
std::string words(xmap_class& x, char kind) {
  std::string s = "old";
  if (kind == ' ') x.TXT_str_scan_space(&s);
  if (kind == ',') x.TXT_str_scan_comma(&s);
  if (kind == '\n') x.TXT_str_scan_eoln(&s);
  if (kind == 'm' || kind == 'M') s = std::to_string(x.TXT_str_scan_match("SERVERS", kind == 'm'));
  return s;
}

TEST_F(Xmap, EmptyFailedAndFolder) {
  Map x = open("");
  ASSERT_NE(x->mem_beg, nullptr);  // a zero-length file is open and empty
  EXPECT_EQ(x->mem_beg, x->mem_end);

  // A failed retry drops the old file; the stale cursor must read as the end.
  x = open("hello\n");
  EXPECT_EQ(x->retry(dir.file("missing")), nullptr);
  EXPECT_EQ(x->mem_end, nullptr);
  std::string s = "kept";
  x->TXT_str_scan_eoln(&s);
  EXPECT_EQ(s, "");
  EXPECT_EQ(x->check_file(file_type_text, nullptr, nullptr, nullptr), 0);
  EXPECT_NE(x->retry(put("late")), nullptr);

  // A folder reads as a file that can't be opened: no memory alert mid-scan.
  temp_log log;
  testing::internal::CaptureStdout();
  EXPECT_EQ(x->retry(dir.path), nullptr);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(x->file_id, 0);
  EXPECT_EQ(log.text(), "");
}

TEST_F(Xmap, TextHeaders) {
  int versions[] = {810, 840, 0};
  std::string title;
  Map x = open("I\n840 Zephyra list\r\n\r\n  INSTALLER  rest\r\nfirst");
  EXPECT_EQ(x->check_file(file_type_text, versions, "INSTALLER", &title), 840);
  EXPECT_EQ(title, "Zephyra list");
  EXPECT_EQ(*x->mem_ptr, 'f');  // rest of the magic line and blank lines gone

  x = open("A junk\n810\nINSTALLER");  // any capital; magic as the very last bytes
  EXPECT_EQ(x->check_file(file_type_text, versions, "INSTALLER", nullptr), 810);
  EXPECT_EQ(x->mem_ptr, x->mem_end);

  x = open("I\n840\nINSTALLER2\n");
  EXPECT_EQ(x->check_file(file_type_text, versions, "INSTALLER", nullptr), 0);
  EXPECT_EQ(*x->mem_ptr, 'I');  // back at the word's start

  int zero_list[] = {0};  // "I" alone has version 0, which no list can hold
  for (const char* bad : {"I\n850 newer\n", "X\n840\n", "i\n840\n", "I"})
    EXPECT_EQ(open(bad)->check_file(file_type_text, versions, nullptr, nullptr), 0) << bad;
  EXPECT_EQ(open("I")->check_file(file_type_text, zero_list, nullptr, nullptr), 0);
}

TEST_F(Xmap, BinaryHeaderByteOrderAndReversedReads) {
  int v[] = {7, 0x01020304, 0};
  Map x = open("a\x01\x02\x03\x04" "\x00\x00\x01\x00" "\x0A\x0B\x0C\x0D"s);
  EXPECT_EQ(x->check_file(file_type_binary, v, nullptr, nullptr), 0x01020304);
  EXPECT_EQ(x->rev_bytes, 1);
  int32_t vals[2] = {0, 0};
  x->read_n_rev(reinterpret_cast<long>(vals), 8);
  EXPECT_EQ(vals[0], 256);
  EXPECT_EQ(vals[1], 0x0A0B0C0D);
  EXPECT_EQ(x->mem_ptr, x->mem_end);

  // Deliberate: every value is taken as 4 wide, so a 6-byte read reverses
  // its tail group over 4 bytes of the destination.
  x->mem_ptr = x->mem_beg + 5;
  unsigned char raw[8] = {0, 0, 0, 0, 0, 0, 0xEE, 0xFF};
  x->read_n_rev(reinterpret_cast<long>(raw), 6);
  const unsigned char want[8] = {0, 1, 0, 0, 0xFF, 0xEE, 0x0B, 0x0A};
  EXPECT_EQ(std::memcmp(raw, want, 8), 0);

  EXPECT_EQ(open("i\x07\x00\x00\x00"s)->check_file(file_type_binary, v, nullptr, nullptr), 7);
  EXPECT_EQ(open("b\x07\x00\x00\x00"s)->check_file(file_type_binary, v, nullptr, nullptr), 0);
  EXPECT_EQ(open("i\x07\x00\x00"s)->check_file(file_type_binary, v, nullptr, nullptr), 0);

  // A read past the end is a programming error, not a quiet overrun.
  x->mem_ptr = x->mem_end - 2;
  EXPECT_DEATH(x->read_n_rev(reinterpret_cast<long>(vals), 4), "");
}

TEST_F(Xmap, NumberScans) {
  // i int, s int up to ',', u unsigned, d decimal, e with exponent. Any
  // character inside a number counts as its code minus '0', as it always has.
  const struct { char kind; std::string text; double want; long stop_at; } cases[] = {
      {'i', "  42 x", 42, 4},   {'i', "-17\r\n", -17, 3},  {'i', "\t7\t", 7, 2},   {'i', "", 0, 0},
      {'i', "-+5", 5, 3},       {'i', "+-5", -25, 3},      {'i', "1a", 59, 2},     {'i', "12,3", 1163, 4},
      {'i', "- 5", 0, 1},       {'i', "-", 0, 1},          {'i', "\n5", 0, 0},     {'i', "5\0z"s, 5, 1},
      {'i', "4294967297", 1, 10},
      {'s', "12,34", 12, 3},    {'s', "-,", 0, 2},         {'s', "- 5", 0, 1},     {'s', "12\n,", 12, 2},
      {'s', "-", 0, 1},
      {'u', "-5", 5, 2},        {'u', "+7 ", 7, 2},        {'u', "- 5", 0, 1},     {'u', "4294967295", 4294967295., 10},
      {'d', "1.50", 1.5, 4},    {'d', "1-2", -12, 3},      {'d', "1.2.3", 1.23, 5}, {'d', " -0.25 x", -0.25, 6},
      {'d', "3\r\n", 3, 1},     {'d', "2.5e-3", -3.033, 6}, {'d', "+.5", 0.5, 3},
      {'e', "2.5e-3", 0.0025, 6}, {'e', "1e 5", 1e5, 4},   {'e', "1E+2 ", 100, 4}, {'e', "e3", 0, 2},
      {'e', "3e", 3, 2},        {'e', "3e \n", 3, 3},      {'e', "-1.5e-+2", -150, 8}, {'e', "7e5\n", 7e5, 3},
  };
  for (const auto& c : cases) {
    Map x = open(c.text);
    EXPECT_DOUBLE_EQ(scan(*x, c.kind), c.want) << c.kind << " " << c.text;
    EXPECT_EQ(at(x), c.stop_at) << c.kind << " " << c.text;
  }
}

TEST_F(Xmap, StringScans) {
  // ' ' word, ',' comma field, '\n' line, 'm'/'M' match SERVERS with/without a line end after it.
  const struct { char kind; std::string text, want; long stop_at; } cases[] = {
      {' ', "  abc\tdef", "abc", 5},   {' ', "\nx", "", 0},  // on a line end: empty, no move
      {',', "a b , c", "a b ", 5},     {',', "\r\nx", "", 1},  // eats the CR, the LF remains
      {',', "y", "y", 2},  // steps once even off the end
      {'\n', "abc  \r\n\r\n   def", "abc  ", 12}, {'\n', "ab\0cd"s, "ab", 3}, {'\n', "def", "def", 3},
      {'M', "  SERVERS x", "1", 9},    {'m', "SERVERS", "1", 7},  {'M', "SERVERS", "0", 0},
      {'M', "SERVERS\r\n", "0", 0},    {'m', "SERVERS\r\n", "1", 7}, {'m', "  SERVERS2", "0", 2},
      {'m', "SERV", "0", 0},           {'m', "servers ", "0", 0},
  };
  for (const auto& c : cases) {
    Map x = open(c.text);
    EXPECT_EQ(words(*x, c.kind), c.want) << c.kind << " " << c.text;
    EXPECT_EQ(at(x), c.stop_at) << c.kind << " " << c.text;
  }
  // One past the end is the end for everybody.
  Map x = open("y");
  x->mem_ptr = x->mem_end + 1;
  for (char kind : {'i', 's', 'u', 'e'}) EXPECT_EQ(scan(*x, kind), 0) << kind;
  for (char kind : {' ', '\n', 'M'}) EXPECT_EQ(words(*x, kind), kind == 'M' ? "0" : "") << kind;
  EXPECT_EQ(x->TXT_str_scan_match("", 1), 1);  // the end reads as a line end
  EXPECT_EQ(words(*x, ','), "");
  EXPECT_EQ(x->mem_ptr, x->mem_end + 2);
}

TEST_F(Xmap, ScansStopAtAPageEndWithoutReadingPast) {
  const struct { char kind; std::string tail; double want; } numbers[] = {
      {'i', "-123", -123}, {'s', "45", 45},     {'s', "+", 0},   {'u', "-", 0},
      {'f', "2.5", 2.5},   {'e', "1.5e2", 150}, {'e', "4e ", 4}, {'e', "4E-", 4},
  };
  for (const auto& c : numbers) EXPECT_DOUBLE_EQ(scan(*open_at_page_end(c.tail), c.kind), c.want) << c.tail;
  const struct { char kind; std::string tail, want; } strings[] = {
      {'m', "SERVERS", "1"}, {'m', "SERV", "0"}, {'\n', "tail  ", "tail  "}, {' ', "word", "word"}, {',', "f", "f"},
  };
  for (const auto& c : strings) EXPECT_EQ(words(*open_at_page_end(c.tail), c.kind), c.want) << c.tail;
  Map x = open_at_page_end("f,");
  words(*x, ',');
  words(*x, ',');
  EXPECT_EQ(x->mem_ptr, x->mem_end + 1);
  EXPECT_EQ(x->TXT_byt_scan(), 0);
  x = open_at_page_end("");
  x->mem_ptr = x->mem_beg;
  x->TXT_prv_scan();  // a whole page of line ends
  EXPECT_EQ(x->mem_ptr, x->mem_end);
}

TEST_F(Xmap, BinaryJunkIsScannedToTheEnd) {
  std::string junk(8192, '\0');
  uint32_t r = 12345;
  for (char& c : junk) c = static_cast<char>((r = r * 1103515245u + 12345u) >> 24);
  int v[] = {810, 840, 0};
  Map x = open_at_page_end(junk, 2);
  EXPECT_EQ(x->check_file(file_type_text, v, "INSTALLER", nullptr), 0);
  x->mem_ptr = x->mem_beg;
  for (int step = 0; x->mem_ptr < x->mem_end && step < 100000; ++step) {
    scan(*x, "isudfe"[step % 6]);
    words(*x, " ,\nmM"[step % 5]);
    if (step % 3 == 0) x->TXT_prv_scan();
    if (step % 7 == 0) x->TXT_byt_scan();
  }
  EXPECT_GE(x->mem_ptr, x->mem_end);
}

}  // namespace
