// The contents of a source of mail, and the messages in it.
#ifndef QUARROW_TRIAL_MAIL_CONTENTS_H_
#define QUARROW_TRIAL_MAIL_CONTENTS_H_

#include <cstddef>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "system/descriptor.h"
#include "trial/mail_sources.h"

namespace Quarrow::Trial {

// The most that is read from a stream, in bytes: a pipe may never end.
constexpr std::size_t stream_limit = std::size_t{256} << 20;

// The contents of one source. A large file is mapped, so that only the parts that are looked at
// are read.
class MailContents {
 public:
  MailContents() = default;
  ~MailContents();
  MailContents(const MailContents&) = delete;
  MailContents& operator=(const MailContents&) = delete;

  // Opens `source`, once for each object. A source that is no regular file is read to its end, or
  // until more than `limit` bytes have come. Nothing on success; on failure there are no contents.
  std::optional<SourceFailure> open(const MailSource& source, std::size_t limit = stream_limit);

  // Valid as long as this object.
  std::string_view bytes() const { return bytes_; }

  // The file that holds just these bytes, from its start; negative for a stream. This object closes
  // it.
  int file() const { return is_file_ ? file_->get() : -1; }

  // When the message came, as its name in a Maildir says; for any other file, when it was last
  // changed; for a stream, when it was opened.
  std::time_t time() const { return time_; }

 private:
  std::optional<SourceFailure> read_file(const MailSource& source, std::size_t size);
  std::optional<SourceFailure> read_stream(const MailSource& source, std::size_t limit);
  bool read_small(std::size_t size);
  bool map(std::size_t size);

  std::optional<Descriptor> file_;
  std::string_view bytes_;
  std::time_t time_ = 0;
  bool is_file_ = false;
  void* mapping_ = nullptr;
  std::string buffer_;
};

// A message within the contents of a source, which must outlive it.
struct FoundMessage {
  std::string name;  // the source's path, with "#1" and so on for the messages of an mbox file
  std::string_view bytes;  // without the lines that our delivery put in front
  int file = -1;           // holds just `bytes`; negative when there is no such file
};

// The messages in `contents`, which were read from `source`: those of an mbox file, which begins
// with a "From " line that holds a time, or a single one. They are as they came, for rules to see
// what they see on delivery.
std::vector<FoundMessage> messages_of(const MailSource& source, const MailContents& contents);

}  // namespace Quarrow::Trial

#endif  // QUARROW_TRIAL_MAIL_CONTENTS_H_
