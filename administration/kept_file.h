// A file that is replaced, and had back when that fails or is cut off.
#ifndef QUARROW_ADMINISTRATION_KEPT_FILE_H_
#define QUARROW_ADMINISTRATION_KEPT_FILE_H_

#include <string>

namespace Quarrow::Administration {

// A second name for a file while it is replaced. The library replaces a file by removing it first:
// a process that is stopped between leaves the second name alone, for take_up_kept() to find.
class KeptFile {
 public:
  // Gives the file `path` its second name, unless it is missing.
  explicit KeptFile(const std::string& path);
  // Takes the second name away.
  ~KeptFile();
  KeptFile(const KeptFile&) = delete;
  KeptFile& operator=(const KeptFile&) = delete;

  // 0, or the errno when there is a file that could not be kept.
  int error() const { return error_; }

  // Puts the file back as it was, which may be absent.
  void restore();

 private:
  std::string path_;
  bool kept_ = false;
  int error_ = 0;
};

// Puts the file `path` back when a process was stopped while it replaced it.
void take_up_kept(const std::string& path);

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_KEPT_FILE_H_
