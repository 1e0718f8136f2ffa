// Maildir delivery: written aside in tmp/, renamed into new/.
#include "quarrow/delivery/maildir_store.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cinttypes>
#include <climits>
#include <cstdio>
#include <ctime>
#include <system_error>

#include "system/descriptor.h"
#include "system/file_io.h"
#include "system/regular_file.h"

// The helpers give 0 or an errno.
namespace Quarrow::Delivery {
namespace {

constexpr int directory_flags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr int new_file_flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;

// More than are ever taken: part of a name is random.
constexpr int most_names_tried = 100;

// A longer list of subscriptions is not one that a mail client wrote.
constexpr std::size_t longest_subscriptions = std::size_t{1} << 20;

// Longer host names are cut, so that a file name stays below NAME_MAX.
constexpr std::size_t longest_host = 150;

using NewName = std::function<std::string()>;

int errno_unless(bool success) { return success ? 0 : errno; }

int sync(int fd) { return errno_unless(fsync(fd) == 0); }

// Makes a folder for the owner; a folder that exists is as good.
int make_directory(int parent, const char* name) {
  return errno_unless(mkdirat(parent, name, 0700) == 0 || errno == EEXIST);
}

int open_directory(int parent, const char* name) { return openat(parent, name, directory_flags); }

// "/" and ":" would end the name, or its unique part, and are written as the Maildir format has it;
// so are characters that need care in a shell.
std::string host_in_file_names(const std::string& host) {
  std::string text;
  for (const char c : host.empty() ? std::string("localhost") : host) {
    std::array<char, 5> code{c};
    if (c <= ' ' || c > '~' || c == '/' || c == ':')
      (void)std::snprintf(code.data(), code.size(), "\\%03o", static_cast<unsigned char>(c));
    if (text.size() + 4 > longest_host) break;
    text += code.data();
  }
  return text;
}

// The lines that are added go out with the first block: most messages take one write.
int write_message(const MessageFile& message, int target) {
  constexpr std::uint64_t most_at_once = 65536;
  std::string block = message.added_headers;
  std::uint64_t done = 0;
  do {
    const std::size_t held = block.size();
    const auto want = std::min(most_at_once, message.size - done);
    block.resize(held + want);
    const ssize_t got = want == 0 ? 0 : read_at(message.fd, block.data() + held, want, done);
    if (got < 0) return errno;
    if (got == 0 && want > 0) return EIO;  // shorter than promised: never take a part for the whole
    block.resize(held + static_cast<std::size_t>(got));
    if (!write_all(target, block)) return errno;
    done += static_cast<std::uint64_t>(got);
    block.clear();
  } while (done < message.size);
  return sync(target);
}

// Writes `message` to a new file `name` in `tmp`, of which nothing is left after a failure.
int write_aside(int tmp, const std::string& name, const MessageFile& message) {
  const Descriptor file(openat(tmp, name.c_str(), new_file_flags, 0600));
  if (file.get() < 0) return errno;
  const int error = write_message(message, file.get());
  if (error != 0) (void)unlinkat(tmp, name.c_str(), 0);  // else it is litter, but no message
  return error;
}

// Renames without ever taking the place of another message.
int rename_into(int target, int tmp, const std::string& name) {
  if (renameat2(tmp, name.c_str(), target, name.c_str(), RENAME_NOREPLACE) == 0) return 0;
  if (errno != EINVAL && errno != ENOSYS) return errno;
  // a file system that can't do so, NFS for example
  if (linkat(tmp, name.c_str(), target, name.c_str(), 0) != 0) return errno;
  (void)unlinkat(tmp, name.c_str(), 0);  // a second name in tmp/ is litter
  return 0;
}

int store_as(const std::string& name, int tmp, int target, const MessageFile& message) {
  if (const int error = write_aside(tmp, name, message)) return error;
  if (const int error = rename_into(target, tmp, name)) {
    (void)unlinkat(tmp, name.c_str(), 0);
    return error;
  }
  const int error = sync(target);
  if (error != 0) (void)unlinkat(target, name.c_str(), 0);  // it is stored again, here or elsewhere
  return error;
}

// Stores `message` in the folder `directory`. ENOENT: the folder is not complete.
int store_in(int directory, const NewName& new_name, const MessageFile& message) {
  const Descriptor tmp(open_directory(directory, "tmp"));
  if (tmp.get() < 0) return errno;
  const Descriptor target(open_directory(directory, "new"));
  if (target.get() < 0) return errno;
  int error = EEXIST;
  for (int tried = 0; error == EEXIST && tried < most_names_tried; ++tried)
    error = store_as(new_name(), tmp.get(), target.get(), message);
  return error;
}

// Makes the empty file that marks a folder of a Maildir. Whatever is there already is left alone.
int make_mark(int directory) {
  const Descriptor mark(openat(directory, "maildirfolder", new_file_flags, 0600));
  return errno_unless(mark.get() >= 0 || errno == EEXIST);
}

// Makes the missing parts of `directory`. tmp/ comes last, after all else is on disk: a process
// that finds it can rely on the rest.
int complete_folder(int directory, bool is_subfolder) {
  if (is_subfolder)
    if (const int error = make_mark(directory)) return error;
  for (const char* name : {"cur", "new"})
    if (const int error = make_directory(directory, name)) return error;
  if (const int error = sync(directory)) return error;
  return make_directory(directory, "tmp");
}

// The line of `folder` in a file of subscriptions that begins with `contents`.
std::string subscription(std::string folder, const std::string& contents) {
  folder.erase(0, 1);  // the first dot
  if (contents.rfind("V\t2\n", 0) == 0) std::replace(folder.begin(), folder.end(), '.', '\t');
  return folder + '\n';
}

std::string read_all(int fd) {
  std::string contents;
  ssize_t count = 1;
  while (count > 0 && contents.size() <= longest_subscriptions) count = append_next(fd, contents);
  return contents;
}

// Whether the file `fd` is a list of subscriptions that may be read and written: one with a second
// name may be another user's file.
bool is_subscriptions(int fd) {
  struct stat status {};
  return fstat(fd, &status) == 0 && status.st_nlink == 1 &&
         static_cast<std::size_t>(status.st_size) <= longest_subscriptions;
}

// Adds `folder` to the subscriptions, in one write: other deliveries add theirs at the same time.
void subscribe(int maildir, const std::string& folder) {
  const Descriptor file(
      open_regular_at(maildir, "subscriptions", O_RDWR | O_APPEND | O_CREAT, 0600));
  if (file.get() < 0 || !is_subscriptions(file.get())) return;
  const std::string contents = read_all(file.get());
  std::string line = subscription(folder, contents);
  if (('\n' + contents).find('\n' + line) != std::string::npos) return;
  if (!contents.empty() && contents.back() != '\n') line.insert(0, 1, '\n');
  (void)write_all(file.get(), line);  // the message matters more
}

// Makes the missing parts of the Maildir itself, and puts them on disk.
int make_maildir(const std::string& maildir) {
  if (const int error = make_directory(AT_FDCWD, maildir.c_str())) return error;
  const Descriptor directory(open_directory(AT_FDCWD, maildir.c_str()));
  if (directory.get() < 0) return errno;
  const Descriptor parent(open_directory(directory.get(), ".."));
  if (parent.get() < 0) return errno;
  if (const int error = sync(parent.get())) return error;
  return complete_folder(directory.get(), false);
}

// Makes the missing parts of `folder`, and puts them on disk.
int make_folder(const std::string& maildir, const std::string& folder) {
  if (const int error = make_maildir(maildir)) return error;
  if (folder.empty()) return 0;
  const Descriptor parent(open_directory(AT_FDCWD, maildir.c_str()));
  if (parent.get() < 0) return errno;
  const bool made = mkdirat(parent.get(), folder.c_str(), 0700) == 0;
  if (!made && errno != EEXIST) return errno;
  const Descriptor directory(open_directory(parent.get(), folder.c_str()));
  if (directory.get() < 0) return errno;
  if (const int error = sync(parent.get())) return error;
  if (const int error = complete_folder(directory.get(), true)) return error;
  if (made) subscribe(parent.get(), folder);
  return 0;
}

// Does `work` with the open folder `folder` of the Maildir.
int in_open_folder(const std::string& maildir, const std::string& folder,
                   const std::function<int(int)>& work) {
  const Descriptor parent(open_directory(AT_FDCWD, maildir.c_str()));
  if (parent.get() < 0) return errno;
  if (folder.empty()) return work(parent.get());
  const Descriptor directory(open_directory(parent.get(), folder.c_str()));
  if (directory.get() < 0) return errno;
  return work(directory.get());
}

int remove_from(int directory, const std::string& name) {
  const Descriptor target(open_directory(directory, "new"));
  if (target.get() < 0) return errno;
  return errno_unless(unlinkat(target.get(), name.c_str(), 0) == 0);
}

}  // namespace

// A name that is free in new/ may be that of a message that a mail client moved to cur/: a clock
// that was set back, or another machine of that name, must not give it again. So part of it is
// random.
std::string unique_text() {
  static std::atomic<unsigned long> count{0};
  timespec now{};
  (void)clock_gettime(CLOCK_REALTIME, &now);
  std::uint64_t number = 0;
  if (getrandom(&number, sizeof number, 0) < 0) number = 0;  // the rest of the name must do then
  std::array<char, 17> random{};
  (void)std::snprintf(random.data(), random.size(), "%016" PRIx64, number);
  return std::to_string(now.tv_sec) + ".M" + std::to_string(now.tv_nsec / 1000) + 'P' +
         std::to_string(getpid()) + 'Q' + std::to_string(++count) + 'R' + random.data();
}

MaildirStore::MaildirStore(std::string maildir, const std::string& host_name, UniqueText unique)
    : maildir_(std::move(maildir)),
      host_(host_in_file_names(host_name)),
      unique_(std::move(unique)) {}

MaildirStore::Result MaildirStore::store(const std::string& folder,
                                         const MessageFile& message) const {
  const std::uint64_t size = message.added_headers.size() + message.size;
  std::string name;
  const auto new_name = [&] {
    return name = unique_() + '.' + host_ + ",S=" + std::to_string(size);
  };
  const auto store = [&](int directory) { return store_in(directory, new_name, message); };
  int error = in_open_folder(maildir_, folder, store);
  if (error == ENOENT) {  // made only now: mostly all is there
    error = make_folder(maildir_, folder);
    if (error == 0) error = in_open_folder(maildir_, folder, store);
  }
  if (error != 0) return result(folder, error);
  return {"", std::move(name)};
}

MaildirStore::Result MaildirStore::take_back(const std::string& folder,
                                             const std::string& name) const {
  return result(folder, in_open_folder(
                            maildir_, folder,
                            [&name](int directory) { return remove_from(directory, name); }));
}

MaildirStore::Result MaildirStore::make(const std::string& folder) const {
  return result(folder, make_folder(maildir_, folder));
}

MaildirStore::Result MaildirStore::result(const std::string& folder, int error) const {
  if (error == 0) return {};
  const std::string path = folder.empty() ? maildir_ : maildir_ + '/' + folder;
  return {path + ": " + std::generic_category().message(error)};
}

std::string host_name() {
  std::array<char, HOST_NAME_MAX + 1> name{};
  if (gethostname(name.data(), name.size() - 1) != 0 || name[0] == '\0') return "localhost";
  return name.data();
}

}  // namespace Quarrow::Delivery
