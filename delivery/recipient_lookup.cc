// Addresses to the folders of users.
#include "delivery/recipient_lookup.h"

#include <sys/stat.h>
#include <zvellparser.h>
#include <zvelluser.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "delivery/user_lock.h"
#include "host/zvellparser/ascii_case.h"

namespace Quarrow::Delivery {
namespace {

using Result = RecipientLookup::Result;

const char possible_delimiters[] = "!#$%&*+-./=?^_{|}~";

RecipientLookup unavailable(const std::string& object, const std::string& reason) {
  return {Result::unavailable, {}, object, reason, {}};
}

// Looks at the folder of the user with that very address.
RecipientLookup look_up_exactly(const std::string& address) {
  const EmailAddress parsed(address);
  std::string folder;
  struct stat status {};
  const int error = ZvMailUserId(MAILBOX_USER, parsed.address()).find_prefpath(folder, status);
  if (error == ENOENT) return {Result::unknown, {}, {}, {}, {}};
  if (error != 0) return unavailable(folder, std::strerror(error));
  if (!S_ISDIR(status.st_mode)) return unavailable(folder, "not a folder");
  return {Result::found, folder, {}, {}, address, look_for_user_lock(folder) == 0};
}

// Why `sign` does not show that the disk is mounted; empty when it does.
std::string missing_reason(const MountSign& sign) {
  struct stat status {};
  int error = stat(sign.path.c_str(), &status) == 0 ? 0 : errno;
  if (error == 0 && sign.kind == MountSign::Kind::folder && !S_ISDIR(status.st_mode))
    error = ENOTDIR;
  if (error == 0) return "";
  return sign.reason_when_missing.empty() ? std::strerror(error) : sign.reason_when_missing;
}

}  // namespace

std::string user_spelling(std::string address, AddressCase address_case) {
  if (address_case == AddressCase::folded)
    std::transform(address.begin(), address.end(), address.begin(), zvellparser::ascii_lower);
  return address;
}

std::string without_extension(const std::string& address, const std::string& delimiters) {
  const std::size_t at = address.rfind('@');
  const std::size_t begin = address.find_first_of(delimiters);
  if (at == std::string::npos || begin == 0 || begin >= at) return address;
  return address.substr(0, begin) + address.substr(at);
}

std::string delimiter_fault(const std::string& delimiters) {
  const bool good = delimiters.find_first_not_of(possible_delimiters) == std::string::npos;
  return good ? ""
              : std::string("not of the characters ") + possible_delimiters + ": " + delimiters;
}

RecipientLookup look_up_recipient(const std::string& written, const MountSign& sign,
                                  const std::string& delimiters, AddressCase address_case) {
  const std::string address = user_spelling(written, address_case);
  RecipientLookup lookup = look_up_exactly(address);
  const std::string user = without_extension(address, delimiters);
  if (lookup.result == Result::unknown && user != address) lookup = look_up_exactly(user);
  if (lookup.result != Result::unknown) return lookup;
  const std::string reason = missing_reason(sign);
  return reason.empty() ? lookup : unavailable(sign.path, reason);
}

}  // namespace Quarrow::Delivery
