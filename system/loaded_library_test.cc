// A library and its functions, loaded by name.
#include "system/loaded_library.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace Quarrow {
namespace {

template <class Action>
std::string error_of(Action action) {
  try {
    action();
  } catch (const std::runtime_error& error) {
    return error.what();
  }
  return "";
}

TEST(LoadedLibrary, HasTheFunctionsOfALibrary) {
  const LoadedLibrary mathematics("libm.so.6");
  double (*const loaded)(double) = mathematics["floor"];
  EXPECT_EQ(loaded(2.5), 2.0);
}

TEST(LoadedLibrary, SaysWhichLibraryIsMissing) {
  const std::string error = error_of([] { LoadedLibrary("libmissing.so.1"); });
  EXPECT_NE(error.find("libmissing.so.1"), std::string::npos) << error;
}

TEST(LoadedLibrary, SaysWhichFunctionIsMissing) {
  const LoadedLibrary mathematics("libm.so.6");
  const std::string error = error_of([&mathematics] { (void)mathematics["no_such_function"]; });
  EXPECT_NE(error.find("no_such_function"), std::string::npos) << error;
}

}  // namespace
}  // namespace Quarrow
