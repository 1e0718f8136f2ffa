// Reading, mapping and splitting the sources of mail.
#include "trial/mail_contents.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zvellparser.h>

#include <cerrno>

#include "system/file_io.h"

namespace Quarrow::Trial {
namespace {

using Kind = SourceFailure::Kind;

// Up to this size in bytes, reading takes less time than mapping.
constexpr std::size_t small_file = 65536;

int open_for_reading(const MailSource& source) {
  return source.is_standard_input() ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)
                                    : open(source.path.c_str(), O_RDONLY | O_CLOEXEC);
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
  time_ = is_file_ ? found.st_mtime : std::time(nullptr);
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
  if (spans.empty()) return {{source.path, bytes, contents.file()}};
  std::vector<FoundMessage> messages;
  for (const auto& span : spans)
    messages.push_back({source.path + '#' + std::to_string(messages.size() + 1),
                        bytes.substr(span.offset, span.length), -1});
  return messages;
}

}  // namespace Quarrow::Trial
