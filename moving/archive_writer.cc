// libarchive's writer of pax archives.
#include "moving/archive_writer.h"

#include <cerrno>
#include <cstring>
#include <new>

#include "system/file_io.h"

namespace Quarrow::Moving {
namespace {

constexpr std::size_t buffered = std::size_t{256} << 10U;

Writing new_writing() {
  Writing writing(libarchive().write_new());
  if (!writing) throw std::bad_alloc();
  return writing;
}

Entry new_entry() {
  Entry entry(libarchive().entry_new());
  if (!entry) throw std::bad_alloc();
  return entry;
}

}  // namespace

ArchiveWriter::ArchiveWriter(int fd) : fd_(fd), entry_(new_entry()), writing_(new_writing()) {
  archive* const writing = writing_.get();
  (void)libarchive().set_pax(writing);
  (void)libarchive().set_block(writing, 0);  // a member comes as a whole when it ends
  (void)libarchive().write_open(writing, this, nullptr, take, nullptr);
}

la_ssize_t ArchiveWriter::take(archive* /*writing*/, void* self, const void* data,
                               std::size_t size) {
  auto& writer = *static_cast<ArchiveWriter*>(self);
  try {
    writer.buffer_.append(static_cast<const char*>(data), size);
  } catch (const std::bad_alloc&) {  // no exception passes through the library
    writer.error_ = ENOMEM;
    return -1;
  }
  writer.sum_.add(static_cast<const char*>(data), size);
  if (writer.buffer_.size() >= buffered && !writer.flush()) return -1;
  return static_cast<la_ssize_t>(size);
}

bool ArchiveWriter::flush() {
  if (!write_all(fd_, buffer_)) error_ = errno;
  buffer_.clear();
  return error_ == 0;
}

bool ArchiveWriter::begin(const Member& member) {
  archive_entry* const entry = entry_.get();
  libarchive().set_pathname(entry, member.name.c_str());
  libarchive().set_filetype(entry, member.is_folder ? AE_IFDIR : AE_IFREG);
  libarchive().set_perm(entry, member.mode);
  libarchive().set_size(entry, static_cast<la_int64_t>(member.size));
  libarchive().set_mtime(entry, member.changed.tv_sec, member.changed.tv_nsec);
  // A warning: the name is not in ASCII, and is written byte by byte.
  return libarchive().write_header(writing_.get(), entry) >= ARCHIVE_WARN;
}

bool ArchiveWriter::add(const char* data, std::size_t size) {
  return libarchive().write_data(writing_.get(), data, size) == static_cast<la_ssize_t>(size);
}

bool ArchiveWriter::end_member() { return libarchive().finish_entry(writing_.get()) == ARCHIVE_OK; }

bool ArchiveWriter::add_text(const std::string& name, const std::string& text) {
  Member member;
  member.name = name;
  member.size = text.size();
  return begin(member) && add(text.data(), text.size()) && end_member();
}

bool ArchiveWriter::finish() {
  return libarchive().write_close(writing_.get()) == ARCHIVE_OK && flush();
}

std::string ArchiveWriter::fault() const {
  if (error_ != 0) return std::strerror(error_);
  const char* const text = libarchive().error_string(writing_.get());
  return text == nullptr ? "can't be written" : text;
}

}  // namespace Quarrow::Moving
