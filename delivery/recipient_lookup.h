// Finding the user that a message is for.
#ifndef QUARROW_DELIVERY_RECIPIENT_LOOKUP_H_
#define QUARROW_DELIVERY_RECIPIENT_LOOKUP_H_

#include <string>

namespace Quarrow::Delivery {

// The sign that the disk with the users' folders is mounted: without the disk, each user would be
// unknown, and the mail for all of them would go back to its senders.
struct MountSign {
  enum class Kind { anything, folder };

  std::string path;  // exists wherever the disk is mounted, and only there
  Kind kind;         // a folder has to be at `path`, or a file may be there, too
  std::string reason_when_missing = {};  // for a person; "" stands for the reason of the system
};

struct RecipientLookup {
  enum class Result {
    found,       // the user has a folder
    unknown,     // there is no such user
    unavailable  // that can't be told now: the mail is to be kept, and tried again
  };

  Result result = Result::unavailable;
  std::string folder;  // found: the user's folder
  std::string object;  // unavailable: the path that can't be looked at
  std::string reason;  // unavailable: why not, for a person
  std::string user;  // found: the user's address, without the extension that it may have come with
  bool is_locked = false;  // found: the user is being moved, and their mail has to wait
};

// What of a user's address counts when the user is looked up.
enum class AddressCase {
  folded,  // capitals are as good as small letters, which the names of users' folders have
  kept     // alice@example.org and Alice@example.org are two users
};

// `address` as users are looked up by it: ASCII capitals become small letters when they are folded.
// Other characters stay, since mail servers don't agree on theirs.
std::string user_spelling(std::string address, AddressCase address_case);

// The address without its extension, which the first of the characters `delimiters` begins:
// alice@example.org for alice+lists@example.org. The address itself when it has none.
std::string without_extension(const std::string& address, const std::string& delimiters);

// Why `delimiters` can't begin extensions, for a person: not each is one of the characters that
// may. Empty when they can.
std::string delimiter_fault(const std::string& delimiters);

// Looks up the user with the mail address `address`, in its user_spelling(), below the root that
// mailuser_set_root was given. A user is known when the user's folder exists. Each of the
// characters `delimiters` may begin an extension: alice+lists@example.org is alice@example.org
// where no user has that very name. An address that can't have a folder, for example one without
// "@", is unknown.
//
// `sign` is looked at only where no folder was found: a user is unknown while it is there, and
// unavailable while it is missing. A folder that can't be looked at, or a file in its place, is
// unavailable, too.
RecipientLookup look_up_recipient(const std::string& address, const MountSign& sign,
                                  const std::string& delimiters = {},
                                  AddressCase address_case = AddressCase::folded);

}  // namespace Quarrow::Delivery

#endif  // QUARROW_DELIVERY_RECIPIENT_LOOKUP_H_
