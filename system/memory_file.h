// A file that is on no disk: text for functions that only take a path.
#ifndef QUARROW_SYSTEM_MEMORY_FILE_H_
#define QUARROW_SYSTEM_MEMORY_FILE_H_

#include <string>

#include "system/descriptor.h"

namespace Quarrow {

class MemoryFile {
 public:
  // Empty; on failure fd() is negative, and nothing can be read or written.
  MemoryFile();

  int fd() const { return file_.get(); }

  // Where this process, and no other, finds the file.
  std::string path() const;

  // Makes `text` the whole content. False, with the content undefined, when memory is short.
  bool write(const std::string& text) const;

  // The whole content; empty on failure.
  std::string read() const;

 private:
  Descriptor file_;
};

}  // namespace Quarrow

#endif  // QUARROW_SYSTEM_MEMORY_FILE_H_
