// Every corpus input, seeds and past crashes alike, through the fuzzers'
// own entry points, so a regression shows in every run.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <vector>

#include "targets.h"

TEST(FuzzCorpus, EveryInputRunsClean) {
  for (const fuzz_target_t& t : kFuzzTargets) {
    const std::string folder = std::string(ZEPHYRA_SOURCE_DIR "/tests/fuzz/corpus/") + t.name;
    std::set<std::filesystem::path> inputs;
    for (const auto& e : std::filesystem::directory_iterator(folder)) inputs.insert(e.path());
    EXPECT_GE(inputs.size(), 2u) << t.name;
    for (const auto& p : inputs) {
      std::ifstream in(p, std::ios::binary);
      const std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
      fprintf(stderr, "%s\n", p.c_str());  // a crash ends the program: this names its input
      EXPECT_EQ(t.run(bytes.data(), bytes.size()), 0) << p;
    }
  }
}
