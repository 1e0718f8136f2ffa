// Reading, mapping and splitting the sources of mail.
#include "trial/mail_contents.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zvellparser.h>

#include <cerrno>

#include "delivery/trace_headers.h"
#include "system/file_io.h"
#include "system/regular_file.h"
#include "trial/maildir_name.h"

namespace Quarrow::Trial {
namespace {

using Kind = SourceFailure::Kind;

// Up to this size in bytes, reading takes less time than mapping.
constexpr std::size_t small_file = 65536;

int open_for_reading(const MailSource& source) {
  if (source.is_standard_input()) return fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0);
  if (source.is_in_maildir) return open_regular_at(source.folder, source.path, O_RDONLY);
  return open(source.path.c_str(), O_RDONLY | O_CLOEXEC);
}

// The one message in `bytes`, all of a file.
FoundMessage only_message(const MailSource& source, std::string_view bytes, int file) {
  const bool is_ours = is_name_of_ours(source.path);
  const std::size_t added = Delivery::added_headers_size(bytes, is_ours);
  return {source.path, bytes.substr(added), added == 0 ? file : -1};
}

}  // namespace

MailContents::~MailContents() {
  if (mapping_ != nullptr) munmap(mapping_, bytes_.size());
}

std::optional<SourceFailure> MailContents::open(const MailSource& source, std::size_t limit) {
  const int file = file_.emplace(open_for_reading(source)).get();
  struct stat found;
  if (file < 0 || fstat(file, &found) != 0) return cannot_read(source.path, errno);
  // standard input may be at a place behind its file's start
  is_file_ = S_ISREG(found.st_mode) && !source.is_standard_input();
  time_ = is_file_ ? time_in_name(source.path).value_or(found.st_mtime) : std::time(nullptr);
  return is_file_ ? read_file(source, static_cast<std::size_t>(found.st_size))
                  : read_stream(source, limit);
}

std::optional<SourceFailure> MailContents::read_file(const MailSource& source, std::size_t size) {
  if (size == 0) return SourceFailure{source.path, Kind::empty, "an empty file, no message"};
  const bool is_read = size <= small_file ? read_small(size) : map(size);
  if (!is_read) return cannot_read(source.path, errno);
  return {};
}

bool MailContents::read_small(std::size_t size) {
  ssize_t count = 1;
  while (count > 0 && buffer_.size() < size) count = append_next(file(), buffer_);
  if (count < 0) return false;
  bytes_ = buffer_;
  return true;
}

bool MailContents::map(std::size_t size) {
  void* const mapping = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file(), 0);
  if (mapping == MAP_FAILED) return false;
  mapping_ = mapping;
  bytes_ = {static_cast<const char*>(mapping), size};
  return true;
}

std::optional<SourceFailure> MailContents::read_stream(const MailSource& source,
                                                       std::size_t limit) {
  ssize_t count = 1;
  while (count > 0 && buffer_.size() <= limit) count = append_from(file_->get(), buffer_);
  if (count < 0) return cannot_read(source.path, errno);
  if (buffer_.size() > limit)
    return SourceFailure{source.path, Kind::too_long,
                         "longer than " + std::to_string(limit >> 20) + " MiB; put it into a file"};
  if (buffer_.empty()) return SourceFailure{source.path, Kind::empty, "empty, no message"};
  bytes_ = buffer_;
  return {};
}

std::vector<FoundMessage> messages_of(const MailSource& source, const MailContents& contents) {
  const std::string_view bytes = contents.bytes();
  const auto spans = mbox_messages(bytes.data(), bytes.size());
  if (spans.empty()) return {only_message(source, bytes, contents.file())};
  std::vector<FoundMessage> messages;
  for (const auto& span : spans) {
    const std::string_view message = bytes.substr(span.offset, span.length);
    messages.push_back({source.path + '#' + std::to_string(messages.size() + 1),
                        message.substr(Delivery::added_headers_size(message, false)), -1});
  }
  return messages;
}

}  // namespace Quarrow::Trial
