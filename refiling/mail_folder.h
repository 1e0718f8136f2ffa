// A folder of a Maildir that other programs use at the same time.
#ifndef QUARROW_REFILING_MAIL_FOLDER_H_
#define QUARROW_REFILING_MAIL_FOLDER_H_

#include <fcntl.h>

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>

#include "system/descriptor.h"

namespace Quarrow::Refiling {

// The part of a message's file name that stays the same as long as the message is in its folder:
// what is in front of the flags.
std::string unique_part(std::string_view name);

// The folder `name` of a Maildir for a person: "A/B" for ".A.B", in UTF-8, and "INBOX" for "".
std::string readable_folder(const std::string& name);

// Where a message is in its folder, and the end of its file's name.
struct Place {
  bool is_new = false;  // in new/, and otherwise in cur/
  std::string info;     // ":2,FS": flags, and the letters of keywords; empty without

  bool operator==(const Place& other) const { return is_new == other.is_new && info == other.info; }
};

// The messages of a folder by the unique parts of their names. An IMAP server changes the rest of a
// name at any time, and removes messages: what is known here is as old as the last read().
//
// Functions give 0 or an errno.
class MailFolder {
 public:
  // Opens the folder `name` of the Maildir at `maildir`; "" is the inbox. No link is followed. A
  // relative path begins at the open folder `above`.
  int open(const std::string& maildir, const std::string& name, int above = AT_FDCWD);

  // Finds out which messages are there.
  int read();

  std::optional<Place> find(const std::string& unique) const;

  // The messages by the unique parts of their names.
  const std::unordered_map<std::string, Place>& messages() const { return messages_; }

  // new/ or cur/, which holds a message in that place.
  int part(const Place& place) const { return (place.is_new ? new_ : cur_)->get(); }

  // Gives the message `unique` a further name in `target`, which ends in `info`: EEXIST when that
  // is taken.
  int link(const std::string& unique, MailFolder& target, const std::string& info);

  // Moves the message `unique` to `target`, where its name ends in `info`. It never takes the place
  // of another one: EEXIST. A file system that can't rename so gets a second name first.
  int move(const std::string& unique, MailFolder& target, const std::string& info);

  // Removes the name of the message `unique`.
  int remove(const std::string& unique);

  // Whether both folders have `unique`, and it is one file.
  bool shares(const std::string& unique, const MailFolder& other) const;

  // Waits until the names that were added since the last time are on the disk.
  int synchronise_gains();

  // The same for names that were removed. Comes behind synchronise_gains() of the folders that took
  // these messages: then the machine can stop at any time, and no message is without a name.
  int synchronise_losses();

  // Of the folder itself, where an IMAP server keeps its own files.
  int fd() const { return folder_->get(); }

 private:
  int read_part(bool is_new);
  void forget(const std::string& unique, const Place& place);
  void remember(const std::string& unique, const Place& place);

  std::optional<Descriptor> folder_;
  std::optional<Descriptor> cur_;
  std::optional<Descriptor> new_;
  std::unordered_map<std::string, Place> messages_;
  std::set<int> gained_;  // of cur_ and new_, those that are not on the disk
  std::set<int> lost_;
};

}  // namespace Quarrow::Refiling

#endif  // QUARROW_REFILING_MAIL_FOLDER_H_
