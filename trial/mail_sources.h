// The messages that a command line names: files, Maildir folders, mbox files and standard input.
#ifndef QUARROW_TRIAL_MAIL_SOURCES_H_
#define QUARROW_TRIAL_MAIL_SOURCES_H_

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "apps/quarrow/complaint.h"
#include "system/descriptor.h"

namespace Quarrow::Trial {

// A file to read messages from. "-" is standard input.
struct MessageFile {
  std::string path;
  std::uint64_t size = 0;  // in bytes, where known
};

// The files that `arguments` stand for, in that order: a Maildir folder stands for what is in its
// cur/ and new/, sorted by name. What is no file and no Maildir is complained about, and the last
// exit status for it stored in `status`.
std::vector<MessageFile> message_files(const std::vector<std::string>& arguments, int& status);

// The contents of one file: a large one is mapped, so that only what is looked at is read.
class FileContents {
 public:
  FileContents() = default;
  ~FileContents();
  FileContents(const FileContents&) = delete;
  FileContents& operator=(const FileContents&) = delete;

  // Opens `path`, once for each object, and says what went wrong.
  Command::Fault open(const std::string& path);

  std::string_view bytes() const { return bytes_; }

  // The file that holds just these bytes, from its start; negative for what is read from a stream.
  int file() const { return is_file_ ? file_->get() : -1; }

  // When the file was last changed; now for standard input.
  std::time_t time() const { return time_; }

 private:
  Command::Fault read_small(int descriptor, std::size_t size);
  Command::Fault read_all(int descriptor);

  std::optional<Descriptor> file_;
  std::string_view bytes_;
  std::time_t time_ = 0;
  bool is_file_ = false;
  void* mapping_ = nullptr;
  std::string buffer_;
};

// A message within a file's contents, which must outlive it.
struct Message {
  std::string name;  // the file's path, with "#1" and so on for the messages of an mbox file
  std::string_view bytes;
  int file = -1;  // that holds the message and nothing else; negative when there is none
};

// The messages in `contents`, those of the file at `path`: the ones of an mbox file, which begins
// with a "From " line, or one.
std::vector<Message> messages_in(const std::string& path, const FileContents& contents);

}  // namespace Quarrow::Trial

#endif  // QUARROW_TRIAL_MAIL_SOURCES_H_
