// The message that is coming in, in a file without a name.
#ifndef QUARROW_LMTP_SPOOL_H_
#define QUARROW_LMTP_SPOOL_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

namespace Quarrow::Lmtp {

// Nothing is left behind, however the process ends: the file has no name. It needs no fsync, since
// the client keeps the message until it has a reply.
class Spool {
 public:
  // The file is made in `folder`.
  explicit Spool(std::string folder) : folder_(std::move(folder)) {}
  ~Spool() { close(); }
  Spool(const Spool&) = delete;
  Spool& operator=(const Spool&) = delete;

  // Starts anew with an empty file. False, with errno set, when no file can be made.
  bool open();

  // Appends. False, with errno set, when not all was written: the disk is full, or fails.
  bool add(const char* data, std::size_t size);

  // The beginning of the message: up to the header's end at least, or most_header bytes. Empty when
  // it can't be read.
  std::string header() const;

  // Gives the file's room back.
  void close();

  // The file, -1 when none is open, and the number of bytes in it.
  int fd() const { return fd_; }
  std::uint64_t size() const { return size_; }

 private:
  const std::string folder_;
  int fd_ = -1;
  std::uint64_t size_ = 0;
};

}  // namespace Quarrow::Lmtp

#endif  // QUARROW_LMTP_SPOOL_H_
