// Pictures on disk: PNG and BMP written and read back with rows bottom up,
// PNG files from another writer (grey, palette with transparency), the
// refusals, and what a missing texture does in each failure mode.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "files/log.h"
#include "support.h"
#include "toolkit/draw.h"
#include "toolkit/textures.h"

namespace {

// A second PNG codec, from Python's zlib alone: makes grey and palette files,
// and prints a file's rows top first as hex, undoing every filter type.
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
def dump(path):
    data = open(path, 'rb').read()[8:]
    idat = b''
    while data:
        n, = struct.unpack('>I', data[:4]); t = data[4:8]; body = data[8:8 + n]
        if t == b'IHDR': w, h, depth, ctype = struct.unpack('>IIBB', body[:10])
        if t == b'IDAT': idat += body
        data = data[12 + n:]
    bpp = {0: 1, 2: 3, 6: 4}[ctype]
    raw = zlib.decompress(idat); stride = w * bpp; prev = bytearray(stride); at = 0
    for y in range(h):
        f = raw[at]; line = bytearray(raw[at + 1:at + 1 + stride]); at += 1 + stride
        for i in range(stride):
            a = line[i - bpp] if i >= bpp else 0; b = prev[i]; c = prev[i - bpp] if i >= bpp else 0
            if f == 1: line[i] = (line[i] + a) & 255
            elif f == 2: line[i] = (line[i] + b) & 255
            elif f == 3: line[i] = (line[i] + (a + b) // 2) & 255
            elif f == 4:
                p = a + b - c; pa, pb, pc = abs(p - a), abs(p - b), abs(p - c)
                pr = a if pa <= pb and pa <= pc else (b if pb <= pc else c)
                line[i] = (line[i] + pr) & 255
        print(line.hex()); prev = line
if sys.argv[1] == 'grey':
    write(sys.argv[2], 2, 2, 0, [bytes([10, 20]), bytes([30, 40])])
elif sys.argv[1] == 'palette':
    plte = chunk(b'PLTE', bytes([255, 0, 0, 0, 255, 0, 0, 0, 255]))
    trns = chunk(b'tRNS', bytes([0]))
    write(sys.argv[2], 3, 1, 3, [bytes([0, 1, 2])], plte + trns)
else:
    dump(sys.argv[2])
)PY";

class PictureFiles : public ::testing::Test {
 protected:
  void SetUp() override {
    dir = make_temp_dir();
    log_open(dir + "Log.txt");
    FILE* f = fopen((dir + "pngtool.py").c_str(), "w");
    fputs(kPngTool, f);
    fclose(f);
  }
  void TearDown() override {
    xer.close();
    remove_tree(dir);
  }
  std::string log() {
    xer.flush();
    return read_file(dir + "Log.txt");
  }
  std::string tool(const std::string& what, const std::string& file) {
    std::string out;
    FILE* p = popen(("python3 " + dir + "pngtool.py " + what + " " + file).c_str(), "r");
    char buf[256];
    while (p && fgets(buf, sizeof(buf), p)) out += buf;
    if (p) pclose(p);
    return out;
  }
  // A picture whose every byte tells its place: (x, y, channel).
  static void fill_scratch(int dx, int dy, int bytes) {
    for (int y = 0; y < dy; ++y)
      for (int x = 0; x < dx; ++x)
        for (int c = 0; c < bytes; ++c)
          scratch_array[(y * dx + x) * bytes + c] = static_cast<unsigned char>(16 * x + 4 * y + c);
    scratch_dx = dx;
    scratch_dy = dy;
  }
  static void f_write(const std::string& path, const std::string& bytes) {
    FILE* f = fopen(path.c_str(), "wb");
    fwrite(bytes.data(), 1, bytes.size(), f);
    fclose(f);
  }
  static std::vector<unsigned char> scratch(int n) {
    return std::vector<unsigned char>(scratch_array, scratch_array + n);
  }
  std::string dir;
};

TEST_F(PictureFiles, PngRoundTripKeepsRowsBottomUp) {
  for (int bytes : {3, 4}) {
    SCOPED_TRACE(bytes);
    fill_scratch(5, 3, bytes);
    const std::vector<unsigned char> want = scratch(5 * 3 * bytes);
    const std::string path = dir + "pic" + std::to_string(bytes) + ".png";
    ASSERT_EQ(1, write_png_to_disk(path, 5, 3, bytes));

    // The other reader sees the picture's top row (scratch row 2) first.
    const std::string rows = tool("dump", path);
    char top[64] = "";
    for (int x = 0; x < 5; ++x)
      for (int c = 0; c < bytes; ++c) sprintf(top + strlen(top), "%02x", 16 * x + 8 + c);
    EXPECT_EQ(0u, rows.find(std::string(top) + "\n")) << rows;

    memset(scratch_array, 0xee, 64);
    scratch_dx = scratch_dy = 0;
    ASSERT_EQ(1, load_png_into_scratch(dir + "pic" + std::to_string(bytes), bytes));   // ".png" added
    EXPECT_EQ(5, scratch_dx);
    EXPECT_EQ(3, scratch_dy);
    EXPECT_EQ(want, scratch(5 * 3 * bytes));
  }

  // RGB read as RGBA gains an opaque alpha; RGBA read as RGB loses it.
  ASSERT_EQ(1, load_png_into_scratch(dir + "pic3.png", 4));
  EXPECT_EQ(16 * 1 + 4 * 2 + 2, scratch_array[(2 * 5 + 1) * 4 + 2]);
  EXPECT_EQ(255, scratch_array[(2 * 5 + 1) * 4 + 3]);
  ASSERT_EQ(1, load_png_into_scratch(dir + "pic4.png", 3));
  EXPECT_EQ(16 * 4 + 4 * 1, scratch_array[(1 * 5 + 4) * 3]);
  EXPECT_EQ(4 * 2 + 2, scratch_array[(2 * 5 + 0) * 3 + 2]);
}

TEST_F(PictureFiles, GreyAndPalettePngsFromAnotherWriter) {
  tool("grey", dir + "grey.png");
  tool("palette", dir + "pal.png");

  ASSERT_EQ(1, load_png_into_scratch(dir + "grey.png", 4));
  // File rows top first: (10, 20) over (30, 40); scratch row 0 is the bottom.
  const std::vector<unsigned char> grey = {30, 30, 30, 255, 40, 40, 40, 255,
                                           10, 10, 10, 255, 20, 20, 20, 255};
  EXPECT_EQ(grey, scratch(16));
  ASSERT_EQ(1, load_png_into_scratch(dir + "grey.png", 1));
  EXPECT_EQ((std::vector<unsigned char>{30, 40, 10, 20}), scratch(4));

  // Palette entry 0 is transparent through tRNS; the others stay opaque.
  ASSERT_EQ(1, load_png_into_scratch(dir + "pal.png", 4));
  const std::vector<unsigned char> pal = {255, 0, 0, 0, 0, 255, 0, 255, 0, 0, 255, 255};
  EXPECT_EQ(pal, scratch(12));
  ASSERT_EQ(1, load_png_into_scratch(dir + "pal.png", 3));
  EXPECT_EQ((std::vector<unsigned char>{255, 0, 0, 0, 255, 0, 0, 0, 255}), scratch(9));
}

TEST_F(PictureFiles, LargerThanItsTargetIsBoxAveraged) {
  const unsigned char grey[8] = {0, 100, 10, 110, 20, 120, 30, 130};   // 4 by 2, one byte each
  memcpy(scratch_array, grey, 8);
  ASSERT_EQ(1, write_png_to_disk(dir + "wide.png", 4, 2, 1));
  ASSERT_EQ(1, load_png_into_scratch(dir + "wide.png", 1, 2, 1));
  EXPECT_EQ(2, scratch_dx);
  EXPECT_EQ(1, scratch_dy);
  EXPECT_EQ((std::vector<unsigned char>{60, 70}), scratch(2));   // (0+100+20+120)/4, (10+110+30+130)/4
}

TEST_F(PictureFiles, BrokenPngsAreNamedInTheLog) {
  EXPECT_EQ(0, load_png_into_scratch(dir + "none.png", 4));   // absent: quietly not there

  FILE* f = fopen((dir + "text.png").c_str(), "w");
  fputs("this is no picture at all", f);
  fclose(f);
  EXPECT_EQ(0, load_png_into_scratch(dir + "text.png", 4));
  EXPECT_NE(std::string::npos, log().find("PING-FILE ERROR!\nis_png=!png_sig_cmp(png_io_buf,0,8)\n"));

  fill_scratch(8, 8, 4);
  ASSERT_EQ(1, write_png_to_disk(dir + "cut.png", 8, 8, 4));
  std::string whole = read_file(dir + "cut.png");
  f = fopen((dir + "cut.png").c_str(), "w");
  fwrite(whole.data(), 1, whole.size() / 2, f);
  fclose(f);
  EXPECT_EQ(0, load_png_into_scratch(dir + "cut.png", 4));
  EXPECT_NE(std::string::npos, log().find("PING-FILE ERROR!\nsetjmp(png_ptr->jmpbuf\n"));
}

TEST_F(PictureFiles, BmpRoundTripAndItsRefusals) {
  fill_scratch(3, 2, 3);
  const std::vector<unsigned char> want = scratch(18);
  ASSERT_EQ(1, write_bmp_to_disk(dir + "pic.bmp", 3, 2, 3));
  const std::string file = read_file(dir + "pic.bmp");
  ASSERT_EQ(54u + 2 * 12, file.size());   // rows padded to 4 bytes
  EXPECT_EQ(24, file[28]);
  // Bottom row first, blue green red.
  EXPECT_EQ(2, file[54]);
  EXPECT_EQ(0, file[56]);
  EXPECT_EQ(16 + 2, file[57]);

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
  f_write(dir + "deep.bmp", deep);
  EXPECT_EQ(0, load_bmp_into_scratch(dir + "deep.bmp", 4));
  EXPECT_NE(std::string::npos, log().find("Wrong bitmap color depth for texture!\n"));

  // A folder that is a regular file can't hold the picture.
  f_write(dir + "plain", "x");
  EXPECT_EQ(0, write_bmp_to_disk(dir + "plain/pic.bmp", 3, 2, 3));
  EXPECT_NE(std::string::npos,
            log().find("Make sure you have all these folders... I can create files, but not "
                       "folders!\nHere is the path:\n" + dir + "plain/pic.bmp\n"));
  EXPECT_EQ(0, write_png_to_disk(dir + "plain/pic.png", 3, 2, 3));
}

}  // namespace
