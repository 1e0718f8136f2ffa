// An archive that is written to a file or a pipe.
#ifndef QUARROW_MOVING_ARCHIVE_WRITER_H_
#define QUARROW_MOVING_ARCHIVE_WRITER_H_

#include <cstddef>
#include <string>
#include <string_view>

#include "moving/libarchive.h"
#include "moving/sha256.h"
#include "moving/user_archive.h"

namespace Quarrow::Moving {

// Functions are false after a failure, and then nothing more may be written: see fault().
class ArchiveWriter {
 public:
  // `fd` stays open until this object is gone. Throws std::runtime_error when a library is missing.
  explicit ArchiveWriter(int fd);
  ArchiveWriter(const ArchiveWriter&) = delete;
  ArchiveWriter& operator=(const ArchiveWriter&) = delete;

  // Begins a member. The bytes of a file follow, as many as its size says.
  bool begin(const Member& member);
  bool add(const char* data, std::size_t size);
  bool end_member();

  // A file with that text as a whole.
  bool add_text(const std::string& name, const std::string& text);

  // Ends the archive, and writes what is left of it.
  bool finish();

  // The SHA-256 of all bytes so far, once a member has ended.
  std::string sum() const { return sum_.text(); }

  // What failed, for a person.
  std::string fault() const;

 private:
  static la_ssize_t take(archive* writing, void* self, const void* data, std::size_t size);
  bool flush();

  const int fd_;
  Sha256 sum_;
  std::string buffer_;  // taken, and not written
  int error_ = 0;       // of the file
  const Entry entry_;
  const Writing writing_;
};

}  // namespace Quarrow::Moving

#endif  // QUARROW_MOVING_ARCHIVE_WRITER_H_
