// Entry points shared by the libFuzzer targets and the corpus replay test.
// Each takes one input and returns 0; a fatal alert is an accepted outcome,
// anything else wrong aborts.
#pragma once
#include <cstddef>
#include <cstdint>

int fuzz_directory(const uint8_t* data, size_t size);
int fuzz_servers(const uint8_t* data, size_t size);
int fuzz_prefs(const uint8_t* data, size_t size);
int fuzz_http(const uint8_t* data, size_t size);
int fuzz_zip(const uint8_t* data, size_t size);

struct fuzz_target_t {
  const char* name;  // also the corpus folder's name
  int (*run)(const uint8_t*, size_t);
};
extern const fuzz_target_t kFuzzTargets[5];
