// Unpacked aside, checked, synchronised, renamed.
#include "moving/user_import.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <system_error>
#include <utility>

#include "administration/folder_making.h"
#include "administration/guarded_process.h"
#include "administration/hash_folders.h"
#include "administration/rules_text.h"
#include "administration/user_folder.h"
#include "administration/users.h"
#include "message_filters/script_words.h"
#include "message_filters/user_files.h"
#include "message_filters/xml_text.h"
#include "moving/archive_reader.h"
#include "moving/user_locking.h"
#include "system/descriptor.h"
#include "system/file_io.h"
#include "system/packet.h"
#include "system/regular_file.h"

namespace Quarrow::Moving {
namespace {

using Administration::folder_above;
using Administration::GuardedOutcome;
using Administration::Refusal;
using Administration::system_refusal;
using Administration::UserFolder;
using Kind = Refusal::Kind;

constexpr int new_file_flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
constexpr mode_t for_owner = 0600;
constexpr mode_t folder_for_owner = 0700;

// A user's folder that is being made. No address has a folder whose name begins with a dot.
constexpr char aside_name[] = ".importing-";

// Of the user's own name; a file's name has at most 255 bytes.
constexpr std::size_t most_name = 200;

Refusal wrong_archive(const std::string& reason) {
  return {Kind::wrong_archive, "archive", reason};
}

// The folder beside the user's in which the import works. One process at a time has it.
class Workplace {
 public:
  explicit Workplace(const std::string& place)
      : path_(folder_above(place) + '/' + aside_name +
              std::filesystem::path(place).filename().string().substr(0, most_name)) {}
  ~Workplace() {
    if (!is_taken_) return;
    std::error_code ignored;  // the next import of the user tries again
    std::filesystem::remove_all(folder(), ignored);
    (void)unlink(lock_path().c_str());
    (void)rmdir(path_.c_str());
  }
  Workplace(const Workplace&) = delete;
  Workplace& operator=(const Workplace&) = delete;

  // Takes the place, without what an import left there that was cut off.
  Refusal take() {
    if (mkdir(path_.c_str(), folder_for_owner) != 0 && errno != EEXIST)
      return Administration::making_refusal(path_, errno);
    const std::string name = lock_path();
    lock_ = std::make_unique<Descriptor>(open_regular(name, O_RDWR | O_CREAT, for_owner));
    struct stat status {};
    if (lock_->get() < 0) return system_refusal(name, "can't be locked", errno);
    // not flock(2): a child that outlives this process for a moment would keep the lock
    struct flock whole {};
    whole.l_type = F_WRLCK;
    whole.l_whence = SEEK_SET;
    if (fcntl(lock_->get(), F_SETLK, &whole) != 0 || fstat(lock_->get(), &status) != 0 ||
        status.st_nlink != 1)
      return {Kind::try_again, path_, "another process imports this user; try again later"};
    is_taken_ = true;
    std::error_code error;
    std::filesystem::remove_all(folder(), error);
    if (error) return system_refusal(folder(), "can't be removed", error.value());
    if (mkdir(folder().c_str(), folder_for_owner) == 0) return {};
    return Administration::making_refusal(folder(), errno);
  }

  // The user's folder as long as it is not in its place.
  std::string folder() const { return path_ + "/user"; }

 private:
  std::string lock_path() const { return path_ + "/lock"; }

  const std::string path_;
  std::unique_ptr<Descriptor> lock_;
  bool is_taken_ = false;
};

// The path below the user's folder of a member; none when it would lead elsewhere, or to a lock.
std::optional<std::string> path_below(const std::string& name) {
  const std::string top = contents_name;
  if (name.rfind(top, 0) != 0) return std::nullopt;
  std::string path = name.substr(top.size());
  if (!path.empty() && path.back() == '/') path.pop_back();
  for (std::size_t begin = 0; begin <= path.size() && !path.empty();) {
    const std::size_t end = std::min(path.find('/', begin), path.size());
    const std::string part = path.substr(begin, end - begin);
    if (part.empty() || part == "." || part == "..") return std::nullopt;
    begin = end + 1;
  }
  if (path == user_lock_name || path == rules_lock_name) return std::nullopt;
  return path;
}

class Unpacking {
 public:
  // `folder` is open and empty.
  Unpacking(int source, int folder) : reader_(source), folder_(folder) {}

  Refusal run(const std::string& user) {
    Refusal refusal = read_description(user);
    Member member;
    while (!refusal && !is_at_end_ && reader_.next(member)) refusal = unpack(member);
    if (!refusal && reader_.fault().empty() && !is_at_end_)
      return wrong_archive("is cut off; export the user once more");
    if (!reader_.fault().empty()) return wrong_archive(reader_.fault());
    return refusal;
  }

  const Counts& counts() const { return counts_; }

 private:
  Refusal read_description(const std::string& user) {
    Member member;
    std::string text;
    if (!reader_.next(member) || member.name != description_name || !reader_.read_text(text))
      return wrong_archive("is none of a user");
    if (text == description_text(user)) return {};
    return wrong_archive("is not one of " + user + " in this version's form");
  }

  Refusal unpack(const Member& member) {
    if (member.name == end_name) return check_end();
    const auto path = path_below(member.name);
    if (!path) return wrong_archive(member.name + " in it is no place in a user's folder");
    return member.is_folder ? make_folder(*path, member) : make_file(*path, member);
  }

  // The sum of a member that is not the last one is not asked for.
  Refusal check_end() {
    is_at_end_ = true;
    std::string text;
    if (!reader_.read_text(text) || text != end_text(counts_, reader_.sum_before()))
      return wrong_archive("is damaged; export the user once more");
    return {};
  }

  // The refusal after a member could not be made.
  static Refusal failure(const std::string& path, int error) {
    if (error == EEXIST || error == ENOENT || error == ENOTDIR || error == ENAMETOOLONG ||
        error == EISDIR)
      return wrong_archive(path +
                           " in it can't be made: " + std::generic_category().message(error));
    return system_refusal(path, "can't be made", error);
  }

  Refusal make_folder(const std::string& path, const Member& member) {
    ++counts_.folders;
    if (!path.empty() && mkdirat(folder_, path.c_str(), folder_for_owner) != 0)
      return failure(path, errno);
    const mode_t mode = member.mode | folder_for_owner;  // the owner has to get in
    const char* const name = path.empty() ? "." : path.c_str();
    if (mode == folder_for_owner || fchmodat(folder_, name, mode, 0) == 0) return {};
    return failure(path, errno);
  }

  Refusal make_file(const std::string& path, const Member& member) {
    ++counts_.files;
    const Descriptor file(openat(folder_, path.c_str(), new_file_flags, for_owner));
    if (file.get() < 0) return failure(path, errno);
    std::array<char, block_size> block;
    la_ssize_t count = 0;
    while ((count = reader_.read(block.data(), block.size())) > 0) {
      const auto size = static_cast<std::size_t>(count);
      if (!write_all(file.get(), {block.data(), size})) return failure(path, errno);
      counts_.bytes += size;
    }
    if (count < 0) return wrong_archive(reader_.fault());
    const timespec times[] = {member.changed, member.changed};
    if (fchmod(file.get(), member.mode | for_owner) != 0 || futimens(file.get(), times) != 0)
      return failure(path, errno);
    return {};
  }

  ArchiveReader reader_;
  const int folder_;
  Counts counts_;
  bool is_at_end_ = false;
};

// Whether the script is the one of the list, or one that filters had nothing to do with.
bool belongs_to(const std::string& script,
                const boost::shared_ptr<MessageFilters::FilterList__>& list) {
  return script == Administration::script_text(list, false) ||
         !Administration::is_made_script(script, list);
}

// Refuses rules that can't be loaded. A script of other rules is left to quarrow doctor, and
// remarked on: versions before this one may have made it differently.
GuardedOutcome check_rules(const UserFolder& folder) {
  std::string document;
  const int error =
      folder.read(rules_document_of(script_name), MessageFilters::most_xml_bytes, document);
  if (error == ENOENT) return {};
  if (error != 0)
    return {wrong_archive("has filters that can't be read: " + reason_for_no_file(error)), ""};
  GuardedOutcome outcome = Administration::run_guarded(folder.path(), [&]() -> GuardedOutcome {
    const auto list = Administration::list_of_quietly(document);
    if (!list) return {{Kind::damaged_document, "", ""}, ""};
    std::string script;
    GuardedOutcome loaded;
    if (folder.read(script_name, script_limit + 1, script) != 0 || !belongs_to(script, list))
      loaded.remark = {Kind::foreign_script, "archive",
                       "the script is not that of the filters; see quarrow doctor"};
    return loaded;
  });
  if (outcome.refusal.kind == Kind::damaged_document)
    outcome.refusal = wrong_archive("has filters that can't be loaded");
  return outcome;
}

// Puts all that was unpacked on the disk.
Refusal put_on_disk(const UserFolder& folder) {
  return syncfs(folder.fd()) == 0 ? Refusal()
                                  : system_refusal(folder.path(), "can't be synchronised", errno);
}

// Puts `folder` in the place of an emptied one, so that the user is known at each moment.
int exchange_with(const std::string& folder, const std::string& place) {
  return renameat2(AT_FDCWD, folder.c_str(), AT_FDCWD, place.c_str(), RENAME_EXCHANGE) == 0 ? 0
                                                                                            : errno;
}

class Import {
 public:
  Import(std::string root, const EmailAddress& user, std::string place, int source)
      : root_(std::move(root)), user_(user), place_(std::move(place)), source_(source) {}

  GuardedOutcome run() {
    if (const Refusal refusal = Administration::make_folders_above(root_, place_))
      return {refusal, ""};
    Workplace workplace(place_);
    if (const Refusal refusal = workplace.take()) return {refusal, ""};
    if (const Refusal refusal = find_place()) return {refusal, ""};
    UserFolder folder(workplace.folder());
    if (const Refusal refusal = folder.open()) return {refusal, ""};
    Unpacking unpacking(source_, folder.fd());
    Refusal refusal = unpacking.run(user_.address());
    if (refusal) return {refusal, ""};
    GuardedOutcome outcome = check_rules(folder);
    if (!outcome.refusal) outcome.refusal = put_on_disk(folder);
    if (!outcome.refusal) outcome.refusal = put_in_place(folder.path());
    outcome.answer = outcome.refusal ? "" : packet_of(unpacking.counts());
    return outcome;
  }

  static Counts counts_in(const std::string& packet) {
    PacketReader reader(packet);
    Counts counts;
    counts.files = reader.number();
    counts.folders = reader.number();
    counts.bytes = reader.number();
    return counts;
  }

 private:
  static std::string packet_of(const Counts& counts) {
    PacketWriter writer;
    for (const std::uint64_t number : {counts.files, counts.folders, counts.bytes})
      writer.number(number);
    return writer.packet();
  }

  // Says in replaces_ whether there is an emptied folder, and refuses any other one.
  Refusal find_place() {
    const Descriptor old(open(place_.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (old.get() < 0)
      return errno == ENOENT ? Refusal() : system_refusal(place_, "is in the way", errno);
    replaces_ = is_emptied(old.get());
    if (!replaces_) return exists();
    struct stat status {};
    if (fstat(old.get(), &status) != 0) return system_refusal(place_, "", errno);
    if (status.st_uid == geteuid()) return {};
    return {Kind::not_permitted, place_,
            "belongs to another user than the folders above it; remove it first"};
  }

  Refusal exists() const {
    return {Kind::user_exists, user_.address(), "is there already, in " + place_};
  }

  Refusal put_in_place(const std::string& folder) const {
    const int error =
        replaces_ ? exchange_with(folder, place_) : Administration::rename_to_new(folder, place_);
    if (error == EEXIST || error == ENOTEMPTY) return exists();
    if (error != 0) return system_refusal(place_, "can't be made", error);
    const int unsynchronised = Administration::synchronise(folder_above(place_));
    if (unsynchronised == 0) return {};
    return system_refusal(place_, "made, but perhaps not on the disk", unsynchronised);
  }

  const std::string root_;
  const EmailAddress user_;
  const std::string place_;
  const int source_;
  bool replaces_ = false;
};

}  // namespace

UserImport import_user(const std::string& root, const EmailAddress& user, int source) {
  Administration::UserSetup setup;
  const Refusal refusal = Administration::plan_user(user, setup);
  if (refusal) return {refusal, {}, {}};
  const GuardedOutcome outcome = Administration::as_owner_above(
      root, setup.folder, [&] { return Import(root, user, setup.folder, source).run(); });
  return {outcome.refusal, Import::counts_in(outcome.answer), outcome.remark};
}

}  // namespace Quarrow::Moving
