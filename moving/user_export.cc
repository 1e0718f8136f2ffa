// The user's folder from the top down, while the rules are locked.
#include "moving/user_export.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "administration/guarded_rules.h"
#include "administration/user_folder.h"
#include "administration/users.h"
#include "message_filters/user_files.h"
#include "moving/archive_writer.h"
#include "refiling/mail_folder.h"
#include "system/descriptor.h"
#include "system/file_io.h"
#include "system/folder_names.h"
#include "system/packet.h"
#include "system/regular_file.h"

namespace Quarrow::Moving {
namespace {

using Administration::GuardedOutcome;
using Administration::Refusal;
using Administration::RulesTransaction;
using Administration::system_refusal;
using Administration::UserFolder;
using Kind = Refusal::Kind;

constexpr int folder_flags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

// What stays on this machine.
bool is_left_behind(const std::string& path) {
  return path == user_lock_name || path == std::string(user_lock_name) + ".new" ||
         path == rules_lock_name;
}

// Whether `path`, below the user's folder, is where messages are before they are whole.
bool is_for_unfinished_mail(const std::string& path) {
  const std::string mail = std::string(maildir_name) + '/';
  const std::string end = "/tmp";
  return path.rfind(mail, 0) == 0 && path.size() > end.size() &&
         path.compare(path.size() - end.size(), end.size(), end) == 0;
}

class Exporting {
 public:
  Exporting(const UserFolder& folder, int target, UserExport& result)
      : folder_(folder), writer_(target), result_(result) {}

  Refusal run(const std::string& user) {
    if (!writer_.add_text(description_name, description_text(user))) return not_written();
    if (const Refusal refusal = add_folder(folder_.fd(), "")) return refusal;
    const bool done =
        writer_.add_text(end_name, end_text(result_.counts, writer_.sum())) && writer_.finish();
    return done ? Refusal() : not_written();
  }

 private:
  Refusal not_written() const { return {Kind::not_written, "archive", writer_.fault()}; }

  Refusal failure(const std::string& path, int error) const {
    return system_refusal(folder_.file(path), "can't be read", error);
  }

  // Adds the open folder `path`, a path below the user's folder, with all that is in it.
  Refusal add_folder(int folder, const std::string& path) {
    struct stat status {};
    std::vector<std::string> names;
    if (fstat(folder, &status) != 0) return failure(path, errno);
    if (const int error = read_names(folder, names)) return failure(path, error);
    const std::string inside = path.empty() ? "" : path + '/';
    if (!writer_.begin({contents_name + inside, true, status.st_mode & 0777U, status.st_mtim, 0}) ||
        !writer_.end_member())
      return not_written();
    ++result_.counts.folders;
    if (is_for_unfinished_mail(path)) return {};
    // "new" before "cur": an IMAP server moves messages that way
    std::reverse(names.begin(), names.end());
    for (const std::string& name : names)
      if (!is_left_behind(inside + name))
        if (const Refusal refusal = add(folder, name, inside + name)) return refusal;
    return {};
  }

  Refusal add(int folder, const std::string& name, const std::string& path) {
    struct stat status {};
    if (fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0)
      return errno == ENOENT ? check_gone(folder, name, path) : failure(path, errno);
    if (S_ISDIR(status.st_mode)) {
      const Descriptor inner(openat(folder, name.c_str(), folder_flags));
      return inner.get() < 0 ? failure(path, errno) : add_folder(inner.get(), path);
    }
    if (!S_ISREG(status.st_mode)) {
      result_.left_out.push_back(path);
      return {};
    }
    const Descriptor file(open_regular_at(folder, name, O_RDONLY));
    if (file.get() >= 0) return add_file(file.get(), path);
    return errno == ENOENT ? check_gone(folder, name, path) : failure(path, errno);
  }

  // A file that was there just now. A delivery takes back from new/ what it stored while the user
  // was locked; what else is gone may be there under another name, which this export has missed.
  Refusal check_gone(int folder, const std::string& name, const std::string& path) const {
    const std::string mail = std::string(maildir_name) + '/';
    const std::string end = "/new/" + name;
    const Descriptor cur(openat(folder, "../cur", folder_flags));
    const auto read = names_in(cur.get());
    const bool is_taken_back =
        path.rfind(mail, 0) == 0 && path.size() > end.size() &&
        path.compare(path.size() - end.size(), end.size(), end) == 0 && cur.get() >= 0 &&
        std::none_of(read.begin(), read.end(), [&name](const std::string& each) {
          return Refiling::unique_part(each) == Refiling::unique_part(name);
        });
    if (is_taken_back) return {};
    return {Kind::try_again, folder_.file(path),
            "was renamed or removed meanwhile; keep the user from IMAP, and try again"};
  }

  Refusal add_file(int file, const std::string& path) {
    struct stat status {};
    if (fstat(file, &status) != 0) return failure(path, errno);
    const auto size = static_cast<std::uint64_t>(status.st_size);
    if (!writer_.begin({contents_name + path, false, status.st_mode & 0777U, status.st_mtim, size}))
      return not_written();
    std::array<char, block_size> block;
    for (std::uint64_t done = 0; done < size;) {
      const auto want = std::min<std::uint64_t>(block.size(), size - done);
      const ssize_t got = read_at(file, block.data(), want, done);
      if (got < 0) return failure(path, errno);
      if (got == 0) return {Kind::try_again, folder_.file(path), "became shorter meanwhile"};
      if (!writer_.add(block.data(), static_cast<std::size_t>(got))) return not_written();
      done += static_cast<std::uint64_t>(got);
    }
    if (!writer_.end_member()) return not_written();
    ++result_.counts.files;
    result_.counts.bytes += size;
    return {};
  }

  const UserFolder& folder_;
  ArchiveWriter writer_;
  UserExport& result_;
};

// The caller has the rules' lock.
Refusal export_locked(const EmailAddress& user, int target, UserExport& result) {
  UserFolder folder(Administration::user_folder(user));
  if (const Refusal refusal = folder.open()) return refusal;
  if (!folder.is_open()) return {Kind::no_such_user, user.address(), "no such user"};
  if (!folder.holds(user_lock_name))
    return {Kind::not_locked, user.address(), "is not locked, and gets mail meanwhile"};
  return Exporting(folder, target, result).run(user.address());
}

std::string packet_of(const UserExport& result) {
  PacketWriter writer;
  for (const std::uint64_t number :
       {result.counts.files, result.counts.folders, result.counts.bytes,
        static_cast<std::uint64_t>(result.left_out.size())})
    writer.number(number);
  for (const std::string& path : result.left_out) writer.text(path);
  return writer.packet();
}

// The sender is this program.
UserExport result_in(const std::string& packet) {
  PacketReader reader(packet);
  UserExport result;
  result.counts.files = reader.number();
  result.counts.folders = reader.number();
  result.counts.bytes = reader.number();
  result.left_out.resize(reader.number(packet.size()));
  for (std::string& path : result.left_out) path = reader.text();
  return result;
}

}  // namespace

UserExport export_user(const EmailAddress& user, int target) {
  const GuardedOutcome outcome =
      Administration::with_rules_of(user, [&](RulesTransaction&) -> GuardedOutcome {
        UserExport result;
        const Refusal refusal = export_locked(user, target, result);
        return {refusal, refusal ? "" : packet_of(result)};
      });
  UserExport result = result_in(outcome.answer);
  result.refusal = outcome.refusal;
  return result;
}

}  // namespace Quarrow::Moving
