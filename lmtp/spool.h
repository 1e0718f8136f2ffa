// The message that is coming in, in a file without a name.
#ifndef QUARROW_LMTP_SPOOL_H_
#define QUARROW_LMTP_SPOOL_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

namespace Quarrow::Lmtp {

// Nothing is left behind, however the process ends: the file has no name, and needs no fsync, since
// the client keeps the message until it has a reply.
class Spool {
 public:
  // `folder` is where the file is made.
  explicit Spool(std::string folder) : folder_(std::move(folder)) {}
  ~Spool() { close(); }
  Spool(const Spool&) = delete;
  Spool& operator=(const Spool&) = delete;

  // Starts anew with an empty file. False, with errno set, when none can be made.
  bool open();

  // Appends. False when not all was written: the disk is full, or fails.
  bool add(const char* data, std::size_t size);

  // What it begins with, as far as the header's end at least, or most_header; empty when it can't
  // be read.
  std::string header() const;

  // Gives the room back.
  void close();

  // The file, -1 when none is open, and how much is in it.
  int fd() const { return fd_; }
  std::uint64_t size() const { return size_; }

 private:
  const std::string folder_;
  int fd_ = -1;
  std::uint64_t size_ = 0;
};

}  // namespace Quarrow::Lmtp

#endif  // QUARROW_LMTP_SPOOL_H_
