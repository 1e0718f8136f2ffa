// An archive that is read from a file or a pipe, and that anybody may have made.
#ifndef QUARROW_MOVING_ARCHIVE_READER_H_
#define QUARROW_MOVING_ARCHIVE_READER_H_

#include <cstddef>
#include <cstdint>
#include <string>

#include "moving/libarchive.h"
#include "moving/sha256.h"
#include "moving/user_archive.h"

namespace Quarrow::Moving {

class ArchiveReader {
 public:
  // `fd` stays open until this object is gone. Throws std::runtime_error when a library is missing.
  explicit ArchiveReader(int fd);
  ArchiveReader(const ArchiveReader&) = delete;
  ArchiveReader& operator=(const ArchiveReader&) = delete;

  // Puts the next member into `member`. False at the end, and after a fault: a member that is
  // neither a plain file nor a folder is one, and so is a set-user-ID bit.
  bool next(Member& member);

  // Reads on in the present member: how many bytes; 0 at its end, negative after a fault.
  la_ssize_t read(char* data, std::size_t size);

  // Puts the text of the present member, which has at most `most_text` bytes, into `text`.
  bool read_text(std::string& text);

  // The SHA-256 of all bytes in front of the present member. No further member can be read.
  std::string sum_before();

  // What is wrong with the archive, for a person; empty when nothing is.
  const std::string& fault() const { return fault_; }

 private:
  static la_ssize_t give(archive* reading, void* self, const void** data);
  bool fail(const std::string& fault);
  bool fail_as_library();
  std::string wrong_kind(archive_entry* entry) const;

  const int fd_;
  Sha256 sum_;
  // The library reads beyond the place that sum_before() is about, though by less than a block: the
  // last two blocks are not summed up.
  std::string earlier_;
  std::string latest_;
  std::uint64_t summed_ = 0;  // bytes
  std::string fault_;
  const Reading reading_;
};

}  // namespace Quarrow::Moving

#endif  // QUARROW_MOVING_ARCHIVE_READER_H_
