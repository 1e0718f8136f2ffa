// Spooling standard input.
#include "apps/quarrow/message_spool.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sysexits.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

#include "system/file_io.h"
#include "system/nameless_file.h"

namespace Quarrow::Command {
namespace {

constexpr std::size_t most_in_memory = std::size_t{4} << 20;

Fault fault(const std::string& failure) {
  return {failure + ": " + std::strerror(errno), EX_TEMPFAIL};
}

Fault too_large(std::uint64_t max_size) {
  return {"larger than " + std::to_string(max_size) + " bytes", EX_DATAERR};
}

// The first bytes of the message without the line that separates messages in an mbox file.
std::string_view without_separator(std::string_view text) {
  if (text.substr(0, 5) != "From ") return text;
  const std::size_t end = text.find('\n');
  return end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
}

int open_nameless(bool in_memory) {
  if (in_memory) return nameless_file_in_memory();
  const char* const folder = std::getenv("TMPDIR");
  return nameless_file_in(folder == nullptr ? "/tmp" : folder);
}

// The same file, for readers that must not change the message.
int open_for_reading(int fd) {
  return open(("/proc/self/fd/" + std::to_string(fd)).c_str(), O_RDONLY | O_CLOEXEC);
}

}  // namespace

MessageSpool::~MessageSpool() {
  if (!bytes_.empty()) (void)munmap(const_cast<char*>(bytes_.data()), bytes_.size());
}

Fault MessageSpool::read(int input, std::uint64_t max_size) {
  std::string text;
  ssize_t got = 1;
  while (got > 0 && text.size() < most_in_memory) got = append_from(input, text);
  if (got < 0) return fault("can't be read");
  const Descriptor file(open_nameless(got == 0));
  if (file.get() < 0) return fault("can't be kept");
  std::uint64_t size = 0;
  std::string_view next = without_separator(text);
  for (;;) {
    size += next.size();
    if (size > max_size) return too_large(max_size);
    if (!write_all(file.get(), next)) return fault("can't be kept");
    if (got == 0) return look_at(file.get());
    text.clear();
    got = append_from(input, text);
    if (got < 0) return fault("can't be read");
    next = text;
  }
}

Fault MessageSpool::look_at(int written) {
  file_.emplace(open_for_reading(written));
  if (fd() < 0) return fault("can't be looked at");
  struct stat status {};
  if (fstat(fd(), &status) != 0) return fault("can't be looked at");
  if (status.st_size == 0) return {"empty, no message", EX_TEMPFAIL};
  const auto size = static_cast<std::size_t>(status.st_size);
  void* const mapping = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, fd(), 0);
  if (mapping == MAP_FAILED) return fault("can't be looked at");
  bytes_ = {static_cast<const char*>(mapping), size};
  return {};
}

}  // namespace Quarrow::Command
