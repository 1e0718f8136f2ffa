// The message that is coming in, in memory or in a file without a name.
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
  // A message of more than `most_in_memory` bytes is in a file in `folder`.
  Spool(std::string folder, std::uint64_t most_in_memory)
      : folder_(std::move(folder)), most_in_memory_(most_in_memory) {}
  ~Spool();
  Spool(const Spool&) = delete;
  Spool& operator=(const Spool&) = delete;

  // Starts anew with an empty file. False, with errno set, when none can be made.
  bool open();

  // Appends. False, with errno set, when not all was written: the disk is full, or fails.
  bool add(const char* data, std::size_t size);

  // The beginning of the message: up to the header's end at least, or most_header bytes. Empty when
  // it can't be read.
  std::string header() const;

  // Gives the message's room back.
  void close();

  // The file, -1 when none is open, and the number of bytes in it.
  int fd() const { return fd_; }
  std::uint64_t size() const { return size_; }

 private:
  bool move_to_disk();
  void empty_memory();

  const std::string folder_;
  const std::uint64_t most_in_memory_;
  int memory_ = -1;  // emptied for each message
  int fd_ = -1;      // memory_, or the file in the folder
  std::uint64_t size_ = 0;
};

}  // namespace Quarrow::Lmtp

#endif  // QUARROW_LMTP_SPOOL_H_
