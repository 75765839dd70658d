// The scanner's rules at blanks, line ends and the end of the data are the
// grammar of every text file of the system, so they are pinned here byte by byte.
#include "files/xmap.h"

#include "temp_log.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

namespace {

using Map = std::unique_ptr<xmap_class>;

class Xmap : public ::testing::Test {
 protected:
  std::string dir;
  int count = 0;
  std::vector<std::pair<void*, size_t>> guards;
  std::vector<Map> plugs;

  void SetUp() override {
    char tmpl[] = "/tmp/xmaptestXXXXXX";
    ASSERT_NE(mkdtemp(tmpl), nullptr);
    dir = tmpl;
  }
  void TearDown() override {
    for (auto& g : guards) munmap(g.first, g.second);
    std::filesystem::remove_all(dir);
  }

  std::string put(const std::string& bytes, std::string name = "") {
    if (name.empty()) name = "f" + std::to_string(count++) + ".txt";
    std::string path = dir + "/" + name;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
  }
  Map open(const std::string& bytes) { return std::make_unique<xmap_class>(put(bytes)); }
  long at(const Map& x) { return static_cast<long>(x->mem_ptr - x->mem_beg); }

  // An earlier hole freed by a closed map may take the file: any guard will do.
  bool guarded(const Map& x) const {
    for (const auto& g : guards)
      if (x->mem_end == g.first) return true;
    return false;
  }

  // A file of exactly `pages` pages ending in `tail`, mapped right below an
  // inaccessible page so that any read past mem_end faults. New mappings go
  // top-down, so a hole is cut just below a guard page for the file to land
  // in; a higher hole left by earlier tests is plugged by keeping that try.
  Map open_at_page_end(const std::string& tail, int pages = 1) {
    const std::string path = put(std::string(pages * 4096 - tail.size(), '\n') + tail);
    const size_t len = static_cast<size_t>(pages) * 4096;
    Map x;
    for (int attempt = 0; attempt < 64; ++attempt) {
      if (x) plugs.push_back(std::move(x));
      x = std::make_unique<xmap_class>("");
      void* r = mmap(nullptr, len + 4096, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
      if (r == MAP_FAILED) break;
      munmap(r, len);
      guards.emplace_back(static_cast<char*>(r) + len, 4096);
      x->retry(path);
      if (guarded(x)) break;
    }
    EXPECT_EQ(x->mem_end - x->mem_beg, static_cast<long>(len));
    EXPECT_TRUE(guarded(x)) << "no guard page after the mapping";
    x->mem_ptr = x->mem_end - tail.size();
    return x;
  }
};

// ------------------------------------------------------------ opening

TEST_F(Xmap, OpensMapsAndReplacesFiles) {
  Map x = open("hello\n");
  ASSERT_NE(x->mem_beg, nullptr);
  EXPECT_EQ(x->mem_end - x->mem_beg, 6);
  EXPECT_EQ(x->mem_ptr, x->mem_beg);
  EXPECT_NE(x->file_id, 0);

  ASSERT_NE(x->retry(put("other")), nullptr);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(x->mem_beg), 5), "other");

  // A failed retry drops the old file; the stale cursor must read as the end.
  EXPECT_EQ(x->retry(dir + "/missing"), nullptr);
  EXPECT_EQ(x->mem_beg, nullptr);
  EXPECT_EQ(x->mem_end, nullptr);
  EXPECT_EQ(x->file_id, 0);
  std::string s = "kept";
  x->TXT_str_scan_eoln(&s);
  EXPECT_EQ(s, "");
  EXPECT_EQ(x->TXT_int_scan(), 0);
  x->TXT_str_scan_comma(nullptr);
  EXPECT_EQ(x->check_file(file_type_text, nullptr, nullptr, nullptr), 0);

  temp_log log;
  EXPECT_EQ(x->retry(dir), nullptr);  // a folder opens but doesn't map
  EXPECT_EQ(x->mem_ptr, nullptr);
  EXPECT_EQ(log.text().rfind("Mem file error.  Err="), 0u);
  EXPECT_NE(log.text().find(", file=" + dir + "\n"), std::string::npos);

  xmap_class none("");
  EXPECT_EQ(none.mem_beg, nullptr);
  EXPECT_EQ(none.TXT_str_scan_match("X", 1), 0);
  EXPECT_NE(none.retry(put("late")), nullptr);
}

TEST_F(Xmap, ZeroLengthFileIsOpenAndEmpty) {
  Map x = open("");
  ASSERT_NE(x->mem_beg, nullptr);
  EXPECT_EQ(x->mem_beg, x->mem_end);
  int v[] = {0, 0};
  EXPECT_EQ(x->check_file(file_type_text, v, nullptr, nullptr), 0);
  std::string s = "x";
  x->TXT_str_scan_space(&s);
  EXPECT_EQ(s, "");
  EXPECT_EQ(x->TXT_uin_scan(), 0u);
  EXPECT_EQ(x->TXT_dob_scan_sci(), 0.0);
  EXPECT_EQ(x->TXT_byt_scan(), 0);
}

TEST_F(Xmap, ColonAndBackslashPathsReachTheFileWithCaseRepaired) {
  put("menu\n", "Resources/Menus/English.txt");
  std::string colon = dir + ":Resources:Menus:English.txt";
  for (char& c : colon)
    if (c == '/') c = ':';
  xmap_class a(colon);
  ASSERT_NE(a.mem_beg, nullptr);
  EXPECT_EQ(a.mem_end - a.mem_beg, 5);

  xmap_class b(dir + "\\resources\\MENUS/english.TXT");
  EXPECT_NE(b.mem_beg, nullptr);
}

TEST_F(Xmap, OverlongPathEndsTheProcess) {
  // The path buffer holds 499 characters and the terminator.
  std::string base = dir + "/";
  EXPECT_EQ(xmap_class(base + std::string(499 - base.size(), 'a')).mem_beg, nullptr);
  EXPECT_DEATH(xmap_class(base + std::string(500 - base.size(), 'a')), "");
}

// ------------------------------------------------------------ headers

TEST_F(Xmap, TextHeaderVersionsMagicAndTitle) {
  int dir_versions[] = {810, 840, 0};
  std::string title;
  Map x = open("I\n840 Zephyra list\r\n\r\n  INSTALLER  rest\r\nfirst");
  EXPECT_EQ(x->check_file(file_type_text, dir_versions, "INSTALLER", &title), 840);
  EXPECT_EQ(title, "Zephyra list");
  EXPECT_EQ(*x->mem_ptr, 'f');  // rest of the magic line and blank lines gone

  x = open("A junk\n810\nINSTALLER");  // magic as the very last bytes
  x->rev_bytes = 1;
  EXPECT_EQ(x->check_file(file_type_text, dir_versions, "INSTALLER", nullptr), 810);
  EXPECT_EQ(x->rev_bytes, 1);  // the letter of a text file says nothing
  EXPECT_EQ(x->mem_ptr, x->mem_end);

  x = open("I\n840\nINSTALLER2\n");
  EXPECT_EQ(x->check_file(file_type_text, dir_versions, "INSTALLER", nullptr), 0);
  EXPECT_EQ(*x->mem_ptr, 'I');  // back at the word's start

  title = "old";
  x = open("I\n850 newer\nINSTALLER\n");
  EXPECT_EQ(x->check_file(file_type_text, dir_versions, nullptr, &title), 0);
  EXPECT_EQ(title, "newer");

  EXPECT_EQ(open("X\n840\n")->check_file(file_type_text, dir_versions, nullptr, nullptr), 0);
  EXPECT_EQ(open("i\n840\n")->check_file(file_type_text, dir_versions, nullptr, nullptr), 0);
  // "I" alone: the version is 0, which no list can hold.
  int zero_list[] = {0};
  EXPECT_EQ(open("I")->check_file(file_type_text, dir_versions, nullptr, nullptr), 0);
  EXPECT_EQ(open("I")->check_file(file_type_text, zero_list, nullptr, nullptr), 0);
  EXPECT_EQ(xmap_class(dir + "/none").check_file(file_type_text, dir_versions, nullptr, nullptr), 0);
}

TEST_F(Xmap, HeadersWrittenByOufReadBack) {
  int prefs[] = {8500, 0};
  std::string title;
  std::string p = dir + "/Prefs.PRF";
  xmap_class t("");
  EXPECT_EQ(t.io_file_open(1, p, prefs, file_type_text), 1);
  ouf << "_stream_count 4\n";
  t.io_file_close();
  EXPECT_FALSE(ouf.is_open());
  EXPECT_EQ(t.io_file_open(0, dir + "/Prefs.prf", prefs, file_type_text), 1);
  EXPECT_EQ(t.TXT_str_scan_match("_stream_count", 0), 1);
  EXPECT_EQ(t.TXT_int_scan(), 4);
  int other[] = {1, 0};
  EXPECT_EQ(t.io_file_open(0, p, other, file_type_text), 0);
  EXPECT_EQ(t.io_file_open(0, dir + "/none", prefs, file_type_text), 0);
  EXPECT_EQ(t.io_file_open(2, p, prefs, file_type_text), 0);

  ASSERT_TRUE(ouf_open(p, file_type_text, 8500, "x"));
  ouf.close();
  EXPECT_EQ(xmap_class(p).check_file(file_type_text, prefs, nullptr, &title), 8500);
  EXPECT_EQ(title, "versionx");

  int bin[] = {123456, 0};
  ASSERT_TRUE(ouf_open(dir + "/b.bin", file_type_binary, 123456, "no-copyright-string"));
  ouf.close();
  xmap_class b(dir + "/b.bin");
  b.rev_bytes = 1;
  EXPECT_EQ(b.check_file(file_type_binary, bin, nullptr, nullptr), 123456);
  EXPECT_EQ(b.rev_bytes, 0);
}

TEST_F(Xmap, BinaryHeaderByteOrderAndReversedReads) {
  int v[] = {7, 0x01020304, 0};
  const std::string big("a\x01\x02\x03\x04" "\x00\x00\x01\x00" "\x0A\x0B\x0C\x0D", 13);
  Map x = open(big);
  EXPECT_EQ(x->check_file(file_type_binary, v, nullptr, nullptr), 0x01020304);
  EXPECT_EQ(x->rev_bytes, 1);
  EXPECT_EQ(at(x), 5);
  int32_t vals[2] = {0, 0};
  x->read_n_rev(reinterpret_cast<long>(vals), 8);
  EXPECT_EQ(vals[0], 256);
  EXPECT_EQ(vals[1], 0x0A0B0C0D);
  EXPECT_EQ(x->mem_ptr, x->mem_end);

  // Every value is taken as 4 wide: a 6-byte read reverses its tail group
  // over 4 bytes of the destination.
  x->mem_ptr = x->mem_beg + 5;
  unsigned char raw[8] = {0, 0, 0, 0, 0, 0, 0xEE, 0xFF};
  x->read_n_rev(reinterpret_cast<long>(raw), 6);
  const unsigned char want[8] = {0, 1, 0, 0, 0xFF, 0xEE, 0x0B, 0x0A};
  EXPECT_EQ(std::memcmp(raw, want, 8), 0);

  Map little = open(std::string("i\x07\x00\x00\x00\x05\x00\x00\x00", 9));
  EXPECT_EQ(little->check_file(file_type_binary, v, nullptr, nullptr), 7);
  EXPECT_EQ(little->rev_bytes, 0);
  int32_t one = 0;
  little->read_n_rev(reinterpret_cast<long>(&one), 4);
  EXPECT_EQ(one, 5);

  EXPECT_EQ(open(std::string("b\x07\x00\x00\x00", 5))->check_file(file_type_binary, v, nullptr, nullptr), 0);
  EXPECT_EQ(open(std::string("i\x07\x00\x00", 4))->check_file(file_type_binary, v, nullptr, nullptr), 0);
}

TEST_F(Xmap, MisuseEndsTheProcess) {
  Map x = open("i\x07");
  int v[] = {7, 0};
  EXPECT_DEATH(x->check_file(3, v, nullptr, nullptr), "");
  x->mem_ptr = x->mem_beg + 1;
  int32_t out = 0;
  EXPECT_DEATH(x->read_n_rev(reinterpret_cast<long>(&out), 4), "");
}

// ------------------------------------------------------------ numbers

struct int_case { std::string text; long long want; long stop_at; };

TEST_F(Xmap, IntegerScans) {
  const int_case cases[] = {
      {"  42 x", 42, 4},    {"-17\r\n", -17, 3},   {"-+5", 5, 3},   {"+-5", -25, 3},
      {"1a", 59, 2},        {"- 5", 0, 1},         {"-", 0, 1},      {"", 0, 0},
      {"\t7\t", 7, 2},      {std::string("5\0z", 3), 5, 1},          {"4294967297", 1, 10},
      {"12,3", 1163, 4},    {"\n5", 0, 0},
  };
  for (const auto& c : cases) {
    Map x = open(c.text);
    EXPECT_EQ(x->TXT_int_scan(), c.want) << c.text;
    EXPECT_EQ(at(x), c.stop_at) << c.text;
  }
  // Numbers never cross a line end by themselves.
  Map x = open("3\n4");
  EXPECT_EQ(x->TXT_int_scan(), 3);
  EXPECT_EQ(x->TXT_int_scan(), 0);
  EXPECT_EQ(at(x), 1);

  const int_case stops[] = {
      {"12,34", 12, 3}, {"-,", 0, 2}, {"- 5", 0, 1}, {"7", 7, 1}, {"-", 0, 1}, {"12\n,", 12, 2},
  };
  for (const auto& c : stops) {
    Map y = open(c.text);
    EXPECT_EQ(y->TXT_int_scan_stop(','), c.want) << c.text;
    EXPECT_EQ(at(y), c.stop_at) << c.text;
  }
  Map y = open("- 5 6");
  EXPECT_EQ(y->TXT_int_scan_stop(' '), 0);  // the blank after the sign is eaten
  EXPECT_EQ(at(y), 2);
  EXPECT_EQ(y->TXT_int_scan_stop(' '), 5);
  EXPECT_EQ(y->TXT_int_scan_stop(' '), 6);

  const int_case uins[] = {
      {"-5", 5, 2}, {"+7 ", 7, 2}, {"-+3", 3, 3}, {"- 5", 0, 1}, {"", 0, 0}, {"4294967295", 4294967295LL, 10},
  };
  for (const auto& c : uins) {
    Map z = open(c.text);
    EXPECT_EQ(z->TXT_uin_scan(), static_cast<unsigned>(c.want)) << c.text;
    EXPECT_EQ(at(z), c.stop_at) << c.text;
  }
}

struct dob_case { std::string text; double want; long stop_at; };

TEST_F(Xmap, FloatingScans) {
  const dob_case plain[] = {
      {"1.50", 1.5, 4},  {"1-2", -12, 3},     {"1.2.3", 1.23, 5}, {" -0.25 x", -0.25, 6},
      {"3\r\n", 3, 1},   {"", 0, 0},           {"2.5e-3", -3.033, 6}, {"+.5", 0.5, 3},
  };
  for (const auto& c : plain) {
    Map x = open(c.text);
    EXPECT_DOUBLE_EQ(x->TXT_dob_scan(), c.want) << c.text;
    EXPECT_EQ(at(x), c.stop_at) << c.text;
  }
  EXPECT_FLOAT_EQ(open("0.1")->TXT_flt_scan(), 0.1f);

  const dob_case sci[] = {
      {"2.5e-3", 0.0025, 6}, {"1e 5", 1e5, 4},     {"1E+2 ", 100, 4}, {"e3", 0, 2},
      {"3e", 3, 2},          {"3e \n", 3, 3},       {"-1.5e-+2", -150, 8}, {"7e5\n", 7e5, 3},
      {"1.25", 1.25, 4},
  };
  for (const auto& c : sci) {
    Map x = open(c.text);
    EXPECT_DOUBLE_EQ(x->TXT_dob_scan_sci(), c.want) << c.text;
    EXPECT_EQ(at(x), c.stop_at) << c.text;
  }
}

// ------------------------------------------------------------ strings

TEST_F(Xmap, WordScan) {
  Map x = open("  abc\tdef\n\nghi");
  std::string s = "old";
  x->TXT_str_scan_space(&s);
  EXPECT_EQ(s, "abc");
  EXPECT_EQ(*x->mem_ptr, '\t');
  x->TXT_str_scan_space(nullptr);
  EXPECT_EQ(*x->mem_ptr, '\n');
  x->TXT_str_scan_space(&s);  // on a line end: empty word, no move
  EXPECT_EQ(s, "");
  EXPECT_EQ(at(x), 9);
  x->TXT_prv_scan();
  x->TXT_str_scan_space(&s);
  EXPECT_EQ(s, "ghi");
  EXPECT_EQ(x->mem_ptr, x->mem_end);
}

TEST_F(Xmap, CommaScanStepsOnceEvenOffTheEnd) {
  Map x = open("a b , c,\r\nx,y");
  std::string s;
  x->TXT_str_scan_comma(&s);
  EXPECT_EQ(s, "a b ");  // inner and trailing blanks kept
  x->TXT_str_scan_comma(&s);
  EXPECT_EQ(s, "c");
  x->TXT_str_scan_comma(&s);  // eats the CR, the LF remains
  EXPECT_EQ(s, "");
  EXPECT_EQ(*x->mem_ptr, '\n');
  x->TXT_prv_scan();
  x->TXT_str_scan_comma(&s);
  EXPECT_EQ(s, "x");
  x->TXT_str_scan_comma(&s);
  EXPECT_EQ(s, "y");
  EXPECT_EQ(x->mem_ptr, x->mem_end + 1);

  // One past the end is the end for everybody.
  s = "keep";
  x->TXT_str_scan_comma(&s);
  EXPECT_EQ(s, "");
  x->TXT_str_scan_space(&s);
  EXPECT_EQ(s, "");
  EXPECT_EQ(x->TXT_int_scan(), 0);
  EXPECT_EQ(x->TXT_int_scan_stop(','), 0);
  EXPECT_EQ(x->TXT_uin_scan(), 0u);
  EXPECT_EQ(x->TXT_dob_scan_sci(), 0.0);
  EXPECT_EQ(x->TXT_str_scan_match("", 0), 0);
  EXPECT_EQ(x->TXT_str_scan_match("", 1), 1);  // the end reads as a line end
  x->TXT_str_scan_eoln(&s);
  EXPECT_EQ(s, "");
  EXPECT_EQ(x->mem_ptr, x->mem_end + 2);
}

TEST_F(Xmap, LineScan) {
  Map x = open("abc  \r\n\r\n   def");
  std::string s;
  x->TXT_str_scan_eoln(&s);
  EXPECT_EQ(s, "abc  ");
  EXPECT_EQ(*x->mem_ptr, 'd');
  x->TXT_str_scan_eoln(&s);
  EXPECT_EQ(s, "def");
  EXPECT_EQ(x->mem_ptr, x->mem_end);

  x = open(std::string("ab\0cd\t x", 8));  // a NUL ends a line
  x->TXT_str_scan_eoln(&s);
  EXPECT_EQ(s, "ab");
  EXPECT_EQ(*x->mem_ptr, 'c');
  x->TXT_str_scan_eoln(&s);
  EXPECT_EQ(s, "cd\t x");
}

TEST_F(Xmap, WordMatch) {
  struct { std::string text; int line_end_ok; int want; long stop_at; } cases[] = {
      {"  SERVERS x", 0, 1, 9}, {"SERVERS\tx", 0, 1, 7}, {"SERVERS", 1, 1, 7}, {"SERVERS", 0, 0, 0},
      {"SERVERS\r\n", 0, 0, 0}, {"SERVERS\r\n", 1, 1, 7}, {"  SERVERS2", 1, 0, 2}, {"SERV", 1, 0, 0},
      {"servers ", 1, 0, 0},
  };
  for (const auto& c : cases) {
    Map x = open(c.text);
    EXPECT_EQ(x->TXT_str_scan_match("SERVERS", c.line_end_ok), c.want) << c.text;
    EXPECT_EQ(at(x), c.stop_at) << c.text;
  }
}

// ------------------------------------------------------------ end of the mapping

TEST_F(Xmap, ScansStopAtAPageEndWithoutReadingPast) {
  EXPECT_EQ(open_at_page_end("-123")->TXT_int_scan(), -123);
  EXPECT_EQ(open_at_page_end("45")->TXT_int_scan_stop(','), 45);
  EXPECT_EQ(open_at_page_end("+")->TXT_int_scan_stop(','), 0);
  EXPECT_EQ(open_at_page_end("-")->TXT_uin_scan(), 0u);
  EXPECT_EQ(open_at_page_end("9")->TXT_uin_scan(), 9u);
  EXPECT_DOUBLE_EQ(open_at_page_end("2.5")->TXT_flt_scan(), 2.5);
  EXPECT_DOUBLE_EQ(open_at_page_end("1.5e2", 2)->TXT_dob_scan_sci(), 150);
  EXPECT_DOUBLE_EQ(open_at_page_end("4e ")->TXT_dob_scan_sci(), 4);
  EXPECT_DOUBLE_EQ(open_at_page_end("4E-")->TXT_dob_scan_sci(), 4);
  EXPECT_EQ(open_at_page_end("LAST")->TXT_str_scan_match("LAST", 1), 1);
  EXPECT_EQ(open_at_page_end("LAS")->TXT_str_scan_match("LAST", 1), 0);

  std::string s;
  open_at_page_end("word")->TXT_str_scan_space(&s);
  EXPECT_EQ(s, "word");
  open_at_page_end("tail  ")->TXT_str_scan_eoln(&s);
  EXPECT_EQ(s, "tail  ");
  Map x = open_at_page_end("f,");
  x->TXT_str_scan_comma(&s);
  EXPECT_EQ(s, "f");
  EXPECT_EQ(x->mem_ptr, x->mem_end);
  x->TXT_str_scan_comma(&s);
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
  for (char& c : junk) {
    r = r * 1103515245u + 12345u;
    c = static_cast<char>(r >> 24);
  }
  int v[] = {810, 840, 0};
  Map x = open_at_page_end(junk, 2);
  EXPECT_EQ(x->check_file(file_type_text, v, "INSTALLER", nullptr), 0);
  x->mem_ptr = x->mem_beg;
  std::string s;
  int steps = 0;
  while (x->mem_ptr < x->mem_end && steps < 100000) {
    switch (steps++ % 11) {
      case 0: x->TXT_int_scan(); break;
      case 1: x->TXT_dob_scan_sci(); break;
      case 2: x->TXT_str_scan_space(&s); break;
      case 3: x->TXT_str_scan_match("ab", 1); break;
      case 4: x->TXT_uin_scan(); break;
      case 5: x->TXT_str_scan_eoln(&s); break;
      case 6: x->TXT_int_scan_stop('\x80'); break;
      case 7: x->TXT_dob_scan(); break;
      case 8: x->TXT_prv_scan(); break;
      case 9: x->TXT_byt_scan(); break;
      default: x->TXT_str_scan_comma(&s); break;
    }
  }
  EXPECT_GE(x->mem_ptr, x->mem_end);
}

}  // namespace
