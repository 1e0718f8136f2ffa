// What libFuzzer calls. The program has all targets: the name by which it is called tells which one
// it is to try.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "fuzz/target.h"

namespace {

Quarrow::Fuzz::TryInput try_input = nullptr;

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** argv) {
  const std::string path = (*argv)[0];
  try_input = Quarrow::Fuzz::find_target(path.substr(path.rfind('/') + 1));
  if (try_input != nullptr) return 0;
  (void)std::fprintf(stderr, "%s: no such target\n", path.c_str());
  std::exit(EXIT_FAILURE);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try_input(std::string(data, data + size));
  return 0;
}
