// Makes the product the publisher benchmark packs: a tree of a few thousand
// files of mixed kinds, the same every time (fixed seed).
//   publish FOLDER TOTAL_BYTES FILE_COUNT
// Kinds, by turn: text (words, packs about 3:1), structured binary (repeats
// with noise, about 2:1) and noise (already compressed data, does not pack).
#include <sys/stat.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

namespace {

void make_folders(const std::string& path) {
  for (size_t i = 1; i < path.size(); ++i)
    if (path[i] == '/') mkdir(path.substr(0, i).c_str(), 0755);
}

std::string fill(std::mt19937_64& rng, int kind, size_t size) {
  static const char* words[] = {"runway ", "heading ", "altitude ", "flaps ", "throttle ", "vector ",
                                "approach ", "glide ", "slope ", "wind ", "gust ", "cloud\n",
                                "0.25 ", "1013 ", "N45W122 ", "taxi ", "hold\n", "climb "};
  std::string out;
  out.reserve(size + 16);
  if (kind == 0) {
    while (out.size() < size) out += words[rng() % (sizeof words / sizeof *words)];
  } else if (kind == 1) {
    std::vector<unsigned char> block(256);
    for (auto& b : block) b = static_cast<unsigned char>(rng());
    while (out.size() < size) {
      for (size_t i = 0; i < block.size(); ++i)
        out += static_cast<char>(rng() % 4 == 0 ? static_cast<unsigned char>(rng()) : block[i]);
      if (rng() % 8 == 0) block[rng() % block.size()] = static_cast<unsigned char>(rng());
    }
  } else {
    while (out.size() < size) {
      uint64_t v = rng();
      out.append(reinterpret_cast<const char*>(&v), 8);
    }
  }
  out.resize(size);
  return out;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    fprintf(stderr, "usage: %s FOLDER TOTAL_BYTES FILE_COUNT\n", argv[0]);
    return 2;
  }
  std::string root = argv[1];
  double total = atof(argv[2]);
  int count = atoi(argv[3]);
  std::mt19937_64 rng(20061004);

  // Sizes spread over three orders of magnitude, as a product's are, plus
  // two large files; then scaled to the total.
  std::vector<double> sizes(count);
  double sum = 0;
  for (int i = 0; i < count; ++i) {
    sizes[i] = std::pow(10.0, 3.0 + 3.0 * (rng() % 10000) / 10000.0);
    if (i < 2) sizes[i] = total / 20;
    sum += sizes[i];
  }
  static const char* folders[] = {"Resources/textures/", "Resources/sounds/", "Aircraft/Cirrovan/",
                                  "Aircraft/Cirrovan/objects/", "Scenery/tiles/", "Resources/fonts/",
                                  "bin/", "Documentation/"};
  for (int i = 0; i < count; ++i) {
    size_t size = static_cast<size_t>(sizes[i] * total / sum);
    std::string path = root + "/" + folders[i % 8] + "file_" + std::to_string(i) + (i % 3 == 0 ? ".txt" : ".dat");
    make_folders(path);
    FILE* f = fopen(path.c_str(), "wb");
    if (!f) {
      perror(path.c_str());
      return 1;
    }
    std::string data = fill(rng, i % 3, size);
    fwrite(data.data(), 1, data.size(), f);
    fclose(f);
  }
  return 0;
}
