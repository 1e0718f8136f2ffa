// Finding, mapping and splitting message files.
#include "trial/mail_sources.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sysexits.h>
#include <unistd.h>
#include <zvellparser.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include "apps/quarrow/complaint.h"
#include "system/file_io.h"

namespace Quarrow::Trial {
namespace {

namespace fs = std::filesystem;

// The most that is read from what can't be mapped: a pipe may never end.
constexpr std::size_t largest_stream = std::size_t{256} << 20;

// Up to this reading takes less time than mapping.
constexpr std::size_t small_file = 65536;

bool is_standard_input(const std::string& path) { return path == "-"; }

int open_for_reading(const std::string& path) {
  return is_standard_input(path) ? dup(STDIN_FILENO) : open(path.c_str(), O_RDONLY | O_CLOEXEC);
}

Command::Fault cannot_read(int error) {
  return {std::string("can't be read: ") + std::strerror(error), EX_NOINPUT};
}

// The files in a Maildir's folder, in the order of their names; those that begin with a dot are not
// messages.
int add_folder(const fs::path& folder, std::vector<MessageFile>& files) {
  std::error_code error;
  const std::size_t before = files.size();
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
       entry.increment(error)) {
    if (entry->path().filename().native().front() == '.' || entry->is_directory(error)) continue;
    const auto size = entry->file_size(error);
    files.push_back({entry->path().string(), error ? 0 : size});
    error.clear();  // a file that is gone already is complained about when it is opened
  }
  if (error) return Command::complain(folder.string(), cannot_read(error.value()));
  std::sort(files.begin() + static_cast<std::ptrdiff_t>(before), files.end(),
            [](const MessageFile& a, const MessageFile& b) { return a.path < b.path; });
  return EX_OK;
}

int add_maildir(const fs::path& folder, std::vector<MessageFile>& files) {
  std::error_code error;
  if (!fs::is_directory(folder / "cur", error) || !fs::is_directory(folder / "new", error))
    return Command::complain(
        folder.string(),
        "a folder without cur/ and new/, so no Maildir; name the message files in it", EX_DATAERR);
  if (const int status = add_folder(folder / "cur", files)) return status;
  return add_folder(folder / "new", files);
}

int add_argument(const std::string& argument, std::vector<MessageFile>& files) {
  if (is_standard_input(argument)) {
    files.push_back({argument, 0});
    return EX_OK;
  }
  struct stat found;
  if (stat(argument.c_str(), &found) != 0) return Command::complain(argument, cannot_read(errno));
  if (S_ISDIR(found.st_mode)) return add_maildir(argument, files);
  files.push_back({argument, static_cast<std::uint64_t>(found.st_size)});
  return EX_OK;
}

}  // namespace

std::vector<MessageFile> message_files(const std::vector<std::string>& arguments, int& status) {
  std::vector<MessageFile> files;
  for (const auto& argument : arguments)
    if (const int failed = add_argument(argument, files)) status = failed;
  return files;
}

FileContents::~FileContents() {
  if (mapping_ != nullptr) munmap(mapping_, bytes_.size());
}

Command::Fault FileContents::open(const std::string& path) {
  const int file = file_.emplace(open_for_reading(path)).get();
  struct stat found;
  if (file < 0 || fstat(file, &found) != 0) return cannot_read(errno);
  const bool mappable = S_ISREG(found.st_mode) && !is_standard_input(path);
  time_ = mappable ? found.st_mtime : std::time(nullptr);
  if (!mappable) return read_all(file);
  if (found.st_size == 0) return {"an empty file, no message", EX_DATAERR};
  is_file_ = true;
  const auto size = static_cast<std::size_t>(found.st_size);
  if (size <= small_file) return read_small(file, size);
  void* const mapping = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file, 0);
  if (mapping == MAP_FAILED) return cannot_read(errno);
  mapping_ = mapping;
  bytes_ = {static_cast<const char*>(mapping), size};
  return {};
}

Command::Fault FileContents::read_small(int descriptor, std::size_t size) {
  ssize_t count = 1;
  while (count > 0 && buffer_.size() < size) count = append_next(descriptor, buffer_);
  if (count < 0) return cannot_read(errno);
  bytes_ = buffer_;
  return {};
}

Command::Fault FileContents::read_all(int descriptor) {
  char block[65536];
  ssize_t count = 0;
  while ((count = read(descriptor, block, sizeof block)) != 0) {
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return cannot_read(errno);
    buffer_.append(block, static_cast<std::size_t>(count));
    if (buffer_.size() > largest_stream)
      return {"longer than 256 MiB; put it into a file", EX_DATAERR};
  }
  bytes_ = buffer_;
  if (bytes_.empty()) return {"empty, no message", EX_DATAERR};
  return {};
}

std::vector<Message> messages_in(const std::string& path, const FileContents& contents) {
  const std::string_view bytes = contents.bytes();
  const auto spans = mbox_messages(bytes.data(), bytes.size());
  if (spans.empty()) return {{path, bytes, contents.file()}};
  std::vector<Message> messages;
  for (const auto& span : spans)
    messages.push_back({path + '#' + std::to_string(messages.size() + 1),
                        bytes.substr(span.offset, span.length), -1});
  return messages;
}

}  // namespace Quarrow::Trial
