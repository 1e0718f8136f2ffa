// The folder of a Maildir that a mailbox name stands for.
#ifndef QUARROW_DELIVERY_FOLDER_NAME_H_
#define QUARROW_DELIVERY_FOLDER_NAME_H_

#include <optional>
#include <string>

namespace Quarrow::Delivery {

// The Maildir++ folder of `mailbox`, a name in modified UTF-7 (RFC 3501, section 5.1.3) whose
// levels are separated by "/": ".A.B" for "A/B". Empty for the inbox: "", "Inbox" with letters of
// either case, and each of them behind "Inbox/". That prefix, with letters of either case, is taken
// off as often as it stands there, since a folder named like the inbox could not be told from it.
//
// A dot within a level, which would separate levels on disk, becomes "&AC4-".
//
// Nothing for a name that can't be a folder: an empty level, a level "." or "..", control
// characters, bytes above 126, or a folder name of more than 255 bytes. Nor for a name that begins
// with "~", behind that prefix too: IMAP servers take it for another user's folder, and open none.
std::optional<std::string> maildir_folder(const std::string& mailbox);

}  // namespace Quarrow::Delivery

#endif  // QUARROW_DELIVERY_FOLDER_NAME_H_
