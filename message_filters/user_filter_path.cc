// The names of a user's files, and their replacement.
#include "message_filters/user_filter_path.h"

#include <unistd.h>
#include <zvelluser.h>

#include <cstdio>

namespace Quarrow {
namespace MessageFilters {

namespace {

// A user's own mailbox, as hosts number the types.
constexpr auto user_mailbox = static_cast<MailBoxType>(1);

}  // namespace

std::string user_filter_path(const EmailAddress& address, int selector) {
  const ZvMailUserId user(user_mailbox, address.address());
  switch (selector) {
    case FILTER_XML:
      return user.prefpath() + "/.delivery_filter.xml";
    case FILTER_SIEVE:
      return user.prefpath() + "/.delivery_filter";
    case CUSTOM_FIELDS_XML:
      return user.prefpath() + "/.delivery_filter.custom.xml";
    default:
      return std::string();
  }
}

std::string temporary_path(const std::string& path) { return path + ".tmp"; }

// There may be no old file to remove. When the new one can't be moved, the next commit writes it
// again.
void put_in_place(const std::string& path) {
  (void)unlink(path.c_str());
  (void)std::rename(temporary_path(path).c_str(), path.c_str());
}

}  // namespace MessageFilters
}  // namespace Quarrow
