// A message from standard input, in a file without a name.
#ifndef QUARROW_APPS_QUARROW_MESSAGE_SPOOL_H_
#define QUARROW_APPS_QUARROW_MESSAGE_SPOOL_H_

#include <cstdint>
#include <optional>
#include <string_view>

#include "apps/quarrow/complaint.h"
#include "system/descriptor.h"

namespace Quarrow::Command {

// Holds a message in memory. A message of 4 MiB or more is in a file in $TMPDIR, or else /tmp,
// which is gone with this object, however the process ends.
class MessageSpool {
 public:
  MessageSpool() = default;
  ~MessageSpool();
  MessageSpool(const MessageSpool&) = delete;
  MessageSpool& operator=(const MessageSpool&) = delete;

  // Reads all of `input`, once for each object, and leaves out a "From " line at its start. Gives
  // the reason of a failure. An empty message is a failure, too: no mail server hands an empty
  // message over, so that its bytes were lost on the way. So is a message of more than `max_size`
  // bytes, which is read no further. All failures have the status EX_TEMPFAIL but the last one,
  // which has EX_DATAERR.
  Fault read(int input, std::uint64_t max_size);

  // The message, after a successful read(). The descriptor can only be read from.
  int fd() const { return file_->get(); }
  std::string_view bytes() const { return bytes_; }

 private:
  Fault look_at(int written);

  std::optional<Descriptor> file_;
  std::string_view bytes_;  // mapped
};

}  // namespace Quarrow::Command

#endif  // QUARROW_APPS_QUARROW_MESSAGE_SPOOL_H_
