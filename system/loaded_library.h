// Libraries that are loaded when they are first needed.
//
// GMime, ICU and SQLite bring twenty others along. Loading them takes longer than all else that a
// program does to deliver a message, and most messages need none of them.
#ifndef QUARROW_SYSTEM_LOADED_LIBRARY_H_
#define QUARROW_SYSTEM_LOADED_LIBRARY_H_

#include <dlfcn.h>

#include <stdexcept>

namespace Quarrow {

// A function of a loaded library. It becomes the pointer that it is assigned to. The library's
// header tells that pointer's type: `decltype(&f) loaded = library["f"]`.
class LoadedFunction {
 public:
  explicit LoadedFunction(void* address) : address_(address) {}
  template <class Function>
  operator Function*() const {
    return reinterpret_cast<Function*>(address_);
  }

 private:
  void* address_;
};

// A loaded library; it stays loaded until the process ends.
class LoadedLibrary {
 public:
  // Loads the library of that name (dlopen(3)). Throws std::runtime_error, which names the missing
  // library, when it can't be loaded.
  explicit LoadedLibrary(const char* name) : handle_(existing(dlopen(name, RTLD_LAZY))) {}

  // The function of that name, in this library or one that it stands on. Throws std::runtime_error
  // when there is no such function.
  LoadedFunction operator[](const char* function) const {
    return LoadedFunction(existing(dlsym(handle_, function)));
  }

 private:
  static void* existing(void* found) {
    if (found == nullptr) throw std::runtime_error(dlerror());
    return found;
  }

  void* handle_;
};

}  // namespace Quarrow

#endif  // QUARROW_SYSTEM_LOADED_LIBRARY_H_
