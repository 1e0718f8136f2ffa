// libarchive's reader of tar archives.
#include "moving/archive_reader.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <new>
#include <utility>

#include "system/file_io.h"

namespace Quarrow::Moving {
namespace {

Reading new_reading() {
  Reading reading(libarchive().read_new());
  if (!reading) throw std::bad_alloc();
  return reading;
}

// The next block of a file: a whole one unless the file ends. 0, or the errno.
int read_block(int fd, std::string& block) {
  ssize_t count = 1;
  while (count > 0 && block.size() < block_size) count = append_from(fd, block);
  return count < 0 ? errno : 0;
}

}  // namespace

ArchiveReader::ArchiveReader(int fd) : fd_(fd), reading_(new_reading()) {
  (void)libarchive().support_tar(reading_.get());
  if (libarchive().read_open(reading_.get(), this, nullptr, give, nullptr) != ARCHIVE_OK)
    fail_as_library();
}

la_ssize_t ArchiveReader::give(archive* /*reading*/, void* self, const void** data) {
  auto& reader = *static_cast<ArchiveReader*>(self);
  try {
    std::string block;
    if (const int error = read_block(reader.fd_, block)) {
      reader.fail(std::strerror(error));
      return -1;
    }
    if (block.empty()) return 0;
    reader.sum_.add(reader.earlier_.data(), reader.earlier_.size());
    reader.summed_ += reader.earlier_.size();
    reader.earlier_ = std::move(reader.latest_);
    reader.latest_ = std::move(block);
  } catch (const std::bad_alloc&) {  // no exception passes through the library
    return -1;
  }
  *data = reader.latest_.data();
  return static_cast<la_ssize_t>(reader.latest_.size());
}

bool ArchiveReader::fail(const std::string& fault) {
  if (fault_.empty()) fault_ = fault;
  return false;
}

bool ArchiveReader::fail_as_library() {
  const char* const text = libarchive().error_string(reading_.get());
  return fail(text == nullptr ? "can't be read" : text);
}

// Why the entry is no member that is taken; empty when it is one.
std::string ArchiveReader::wrong_kind(archive_entry* entry) const {
  const auto type = libarchive().filetype(entry);
  if ((type != AE_IFREG && type != AE_IFDIR) || libarchive().hardlink(entry) != nullptr)
    return "is neither a plain file nor a folder";
  if (libarchive().sparse_count(entry) > 0) return "is a file with holes";
  if ((libarchive().perm(entry) & (S_ISUID | S_ISGID | S_ISVTX)) != 0)
    return "has more rights than a user's file needs";
  return "";
}

bool ArchiveReader::next(Member& member) {
  if (!fault_.empty()) return false;
  archive_entry* entry = nullptr;
  const int result = libarchive().next_header(reading_.get(), &entry);
  if (result == ARCHIVE_EOF) return false;
  if (result != ARCHIVE_OK) return fail_as_library();
  const char* const name = libarchive().pathname(entry);
  if (name == nullptr) return fail("holds a name that can't be read");
  if (const std::string wrong = wrong_kind(entry); !wrong.empty())
    return fail(std::string(name) + " in it " + wrong);
  member.name = name;
  member.is_folder = libarchive().filetype(entry) == AE_IFDIR;
  member.mode = libarchive().perm(entry);
  member.changed = {libarchive().mtime(entry), libarchive().mtime_nsec(entry)};
  member.size = static_cast<std::uint64_t>(libarchive().size(entry));
  return true;
}

la_ssize_t ArchiveReader::read(char* data, std::size_t size) {
  const la_ssize_t count = libarchive().read_data(reading_.get(), data, size);
  if (count < 0) fail_as_library();
  return count;
}

bool ArchiveReader::read_text(std::string& text) {
  std::array<char, most_text + 1> block{};
  la_ssize_t count = 1;
  while (count > 0 && text.size() <= most_text) {
    count = read(block.data(), block.size());
    if (count > 0) text.append(block.data(), static_cast<std::size_t>(count));
  }
  return count == 0 && text.size() <= most_text;
}

std::string ArchiveReader::sum_before() {
  const auto position = static_cast<std::uint64_t>(libarchive().header_position(reading_.get()));
  const std::string open = earlier_ + latest_;
  if (position < summed_ || position - summed_ > open.size()) return "";
  sum_.add(open.data(), position - summed_);
  return sum_.text();
}

}  // namespace Quarrow::Moving
