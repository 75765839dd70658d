// Every input of the fuzz corpora, seeds and past crashes alike, through the
// same entry points the fuzzers drive, so a regression shows in every run.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "targets.h"

namespace fs = std::filesystem;

TEST(FuzzCorpus, EveryInputRunsClean) {
  for (const fuzz_target_t& t : kFuzzTargets) {
    const fs::path folder = fs::path(ZEPHYRA_SOURCE_DIR) / "tests/fuzz/corpus" / t.name;
    std::vector<fs::path> inputs;
    for (const auto& e : fs::directory_iterator(folder)) inputs.push_back(e.path());
    std::sort(inputs.begin(), inputs.end());
    EXPECT_GE(inputs.size(), 2u) << t.name;
    for (const fs::path& p : inputs) {
      std::ifstream in(p, std::ios::binary);
      const std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(in),
                                       std::istreambuf_iterator<char>()};
      // A crash ends the program; this line names the input that did it.
      fprintf(stderr, "%s\n", p.c_str());
      EXPECT_EQ(t.run(bytes.data(), bytes.size()), 0) << p;
    }
  }
}
