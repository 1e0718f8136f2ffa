// The names of a user's files, and their replacement.
#include "message_filters/user_filter_path.h"

#include <unistd.h>
#include <zvelluser.h>

#include <cstdio>

#include "message_filters/user_files.h"

namespace Quarrow::MessageFilters {

namespace {

// A user's own mailbox, as hosts number the types.
constexpr auto user_mailbox = static_cast<MailBoxType>(1);

}  // namespace

std::string user_filter_path(const EmailAddress& address, int selector) {
  const std::string folder = ZvMailUserId(user_mailbox, address.address()).prefpath();
  switch (selector) {
    case FILTER_XML:
      return rules_document_of(in_folder(folder, script_name));
    case FILTER_SIEVE:
      return in_folder(folder, script_name);
    case CUSTOM_FIELDS_XML:
      return in_folder(folder, custom_fields_name);
    default:
      return std::string();
  }
}

// There may be no old file to remove. When the new one can't be moved, the next commit writes it
// again.
void put_in_place(const std::string& path) {
  (void)unlink(path.c_str());
  (void)std::rename(temporary_path(path).c_str(), path.c_str());
}

}  // namespace Quarrow::MessageFilters
