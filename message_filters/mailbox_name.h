// The names of folders, as IMAP writes them.
#ifndef QUARROW_MESSAGE_FILTERS_MAILBOX_NAME_H_
#define QUARROW_MESSAGE_FILTERS_MAILBOX_NAME_H_

#include <string>

namespace Quarrow::MessageFilters {

// `folder`, a name in UTF-8 whose levels are separated by "/", as IMAP writes it (RFC 3501, section
// 5.1.3), level by level; "/" stays "/". Of each level the first 1024 bytes count.
std::string imap_mailbox_name(const std::string& folder);

// `name`, in which folders stand as IMAP writes them, with these folders in UTF-8: for a person. A
// name that is not written so comes back as it is.
std::string readable_mailbox_name(const std::string& name);

}  // namespace Quarrow::MessageFilters

#endif  // QUARROW_MESSAGE_FILTERS_MAILBOX_NAME_H_
