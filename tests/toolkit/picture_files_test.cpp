// Pictures on disk: PNG and BMP written and read back with rows bottom up,
// PNG files from another writer (grey, palette with transparency), and the
// refusals.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "files/log.h"
#include "support.h"
#include "toolkit/draw.h"
#include "toolkit/textures.h"

namespace {

// PNG files from another writer, Python's zlib alone: RGBA, grey, and a
// palette whose entry 0 is transparent through tRNS. Rows are given top first.
const char* const kPngTool = R"PY(
import struct, sys, zlib
def chunk(t, d):
    return struct.pack('>I', len(d)) + t + d + struct.pack('>I', zlib.crc32(t + d) & 0xffffffff)
def write(path, w, h, ctype, rows, extra=b''):
    raw = b''.join(b'\x00' + r for r in rows)
    ihdr = struct.pack('>IIBBBBB', w, h, 8, ctype, 0, 0, 0)
    with open(path, 'wb') as f:
        f.write(b'\x89PNG\r\n\x1a\n' + chunk(b'IHDR', ihdr) + extra +
                chunk(b'IDAT', zlib.compress(raw)) + chunk(b'IEND', b''))
d = sys.argv[1]
write(d + 'rgba.png', 2, 2, 6, [bytes(range(1, 9)), bytes(range(11, 19))])
write(d + 'grey.png', 2, 2, 0, [bytes([10, 20]), bytes([30, 40])])
write(d + 'pal.png', 3, 1, 3, [bytes([0, 1, 2])],
      chunk(b'PLTE', bytes([255, 0, 0, 0, 255, 0, 0, 0, 255])) + chunk(b'tRNS', bytes([0])))
)PY";

using bytes = std::vector<unsigned char>;

class PictureFiles : public ::testing::Test {
 protected:
  void SetUp() override {
    dir = make_temp_dir();
    log_open(dir + "Log.txt");
  }
  void TearDown() override {
    xer.close();
    remove_tree(dir);
  }
  bool logged(const std::string& text) {
    xer.flush();
    return read_file(dir + "Log.txt").find(text) != std::string::npos;
  }
  // A picture whose every byte tells its place: (x, y, channel).
  static void fill_scratch(int dx, int dy, int depth) {
    for (int y = 0; y < dy; ++y)
      for (int x = 0; x < dx; ++x)
        for (int c = 0; c < depth; ++c)
          scratch_array[(y * dx + x) * depth + c] = static_cast<unsigned char>(16 * x + 4 * y + c);
  }
  static void put(const std::string& path, const std::string& content) {
    FILE* f = fopen(path.c_str(), "wb");
    fwrite(content.data(), 1, content.size(), f);
    fclose(f);
  }
  static bytes scratch(int n) { return bytes(scratch_array, scratch_array + n); }
  std::string dir;
};

// Our own writer's files are read back by the test screen (RGB) and the
// texture tests (RGBA); here the reader meets another writer's.
TEST_F(PictureFiles, PngsFromAnotherWriterAndBoxAveraging) {
  put(dir + "pngtool.py", kPngTool);
  ASSERT_EQ(0, system(("python3 " + dir + "pngtool.py " + dir).c_str()));
  // The file's top row is scratch's last; a palette's entries but 0 are opaque.
  const struct {
    const char* file;
    int depth;
    bytes want;
  } cases[] = {
      {"rgba.png", 4, {11, 12, 13, 14, 15, 16, 17, 18, 1, 2, 3, 4, 5, 6, 7, 8}},
      {"rgba.png", 3, {11, 12, 13, 15, 16, 17, 1, 2, 3, 5, 6, 7}},
      {"grey.png", 4, {30, 30, 30, 255, 40, 40, 40, 255, 10, 10, 10, 255, 20, 20, 20, 255}},
      {"grey.png", 1, {30, 40, 10, 20}},
      {"pal.png", 4, {255, 0, 0, 0, 0, 255, 0, 255, 0, 0, 255, 255}},
      {"pal.png", 3, {255, 0, 0, 0, 255, 0, 0, 0, 255}},
  };
  for (const auto& c : cases) {
    ASSERT_EQ(1, load_png_into_scratch(dir + c.file, c.depth)) << c.file;
    EXPECT_EQ(c.want, scratch(c.want.size())) << c.file << " as " << c.depth;
  }

  // Larger than its target: each target pixel is the mean of its box.
  const unsigned char grey[8] = {0, 100, 10, 110, 20, 120, 30, 130};   // 4 by 2
  memcpy(scratch_array, grey, 8);
  ASSERT_EQ(1, write_png_to_disk(dir + "wide.png", 4, 2, 1));
  ASSERT_EQ(1, load_png_into_scratch(dir + "wide.png", 1, 2, 1));
  EXPECT_EQ(2, scratch_dx);
  EXPECT_EQ(1, scratch_dy);
  EXPECT_EQ((bytes{60, 70}), scratch(2));   // (0+100+20+120)/4, (10+110+30+130)/4
}

TEST_F(PictureFiles, BrokenPngsAreNamedInTheLog) {
  EXPECT_EQ(0, load_png_into_scratch(dir + "none.png", 4));   // absent: quietly not there
  put(dir + "text.png", "this is no picture at all");
  EXPECT_EQ(0, load_png_into_scratch(dir + "text.png", 4));
  EXPECT_TRUE(logged("PING-FILE ERROR!\nis_png=!png_sig_cmp(png_io_buf,0,8)\n"));

  fill_scratch(8, 8, 4);
  ASSERT_EQ(1, write_png_to_disk(dir + "cut.png", 8, 8, 4));
  const std::string whole = read_file(dir + "cut.png");
  put(dir + "cut.png", whole.substr(0, whole.size() / 2));
  EXPECT_EQ(0, load_png_into_scratch(dir + "cut.png", 4));
  EXPECT_TRUE(logged("PING-FILE ERROR!\nsetjmp(png_ptr->jmpbuf\n"));
}

TEST_F(PictureFiles, BmpRoundTripAndItsRefusals) {
  fill_scratch(3, 2, 3);
  const bytes want = scratch(18);
  ASSERT_EQ(1, write_bmp_to_disk(dir + "pic.bmp", 3, 2, 3));
  const std::string file = read_file(dir + "pic.bmp");
  ASSERT_EQ(54u + 2 * 12, file.size());   // rows padded to 4 bytes
  EXPECT_EQ(24, file[28]);
  // Bottom row first, blue green red.
  EXPECT_EQ((std::vector<int>{2, 1, 0, 16 + 2}), (std::vector<int>{file[54], file[55], file[56], file[57]}));

  memset(scratch_array, 0, 32);
  ASSERT_EQ(1, load_bmp_into_scratch(dir + "pic", 3));
  EXPECT_EQ(3, scratch_dx);
  EXPECT_EQ(2, scratch_dy);
  EXPECT_EQ(want, scratch(18));
  ASSERT_EQ(1, load_bmp_into_scratch(dir + "pic.bmp", 4));
  EXPECT_EQ(255, scratch_array[5 * 4 + 3]);
  EXPECT_EQ(want[5 * 3 + 1], scratch_array[5 * 4 + 1]);

  std::string deep = file;
  deep[28] = 32;
  put(dir + "deep.bmp", deep);
  EXPECT_EQ(0, load_bmp_into_scratch(dir + "deep.bmp", 4));
  EXPECT_TRUE(logged("Wrong bitmap color depth for texture!\n"));

  // A folder that is a regular file can't hold the picture.
  put(dir + "plain", "x");
  EXPECT_EQ(0, write_bmp_to_disk(dir + "plain/pic.bmp", 3, 2, 3));
  EXPECT_TRUE(logged("Make sure you have all these folders... I can create files, but not "
                     "folders!\nHere is the path:\n" + dir + "plain/pic.bmp\n"));
  EXPECT_EQ(0, write_png_to_disk(dir + "plain/pic.png", 3, 2, 3));
}

}  // namespace
