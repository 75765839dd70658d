// One libFuzzer program per entry point; FUZZ_ENTRY names it at compile time.
#include "../targets.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  return FUZZ_ENTRY(data, size);
}
