// Drives a queue store and its model with steps read from bytes.
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "store_model.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  constexpr std::size_t kStep = 7;
  StoreModel model;
  for (; size >= kStep; data += kStep, size -= kStep) {
    const auto length = static_cast<uint16_t>(data[5] | data[6] << 8);
    const char* difference = model.Do({data[0], data[1], data[2], data[3], data[4], length});
    if (difference != nullptr) {
      fprintf(stderr, "store and model differ: %s\n", difference);
      abort();
    }
  }
  return 0;
}
