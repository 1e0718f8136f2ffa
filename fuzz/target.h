// A fuzz target: a function that tries one input.
#ifndef QUARROW_FUZZ_TARGET_H_
#define QUARROW_FUZZ_TARGET_H_

#include <string>

namespace Quarrow::Fuzz {

// Tries an input, any bytes: returns when all holds that must, and ends the process otherwise.
using TryInput = void (*)(const std::string& input);

// Makes a target known by its name, before main().
class Target {
 public:
  Target(const char* name, TryInput try_input);
};

// The target of that name; null when there is none.
TryInput find_target(const std::string& name);

}  // namespace Quarrow::Fuzz

#endif  // QUARROW_FUZZ_TARGET_H_
