// The folder of a Maildir that a mailbox name stands for.
#ifndef QUARROW_DELIVERY_FOLDER_NAME_H_
#define QUARROW_DELIVERY_FOLDER_NAME_H_

#include <optional>
#include <string>

#include "quarrow/delivery/folder_dots.h"

namespace Quarrow::Delivery {

// The Maildir++ folder of `mailbox`, a name in modified UTF-7 (RFC 3501, section 5.1.3) whose
// levels are separated by "/": ".A.B" for "A/B". Empty for the inbox: "", "Inbox" with letters of
// either case, and each of them behind "Inbox/". That prefix, with letters of either case, is taken
// off as often as it stands there, since a folder named like the inbox could not be told from it.
//
// FolderDots::listescape spells folders as Dovecot 2.3 does with that plugin: a dot and a backslash
// within a level, and a tilde at its beginning, are "\2e", "\5c" and "\7e". Without it these two
// others stand as they are.
//
// Nothing for a name that can't be a folder: an empty level, a level "." or "..", control
// characters, bytes above 126, a dot in base64, or a folder name of more than 255 bytes. With
// FolderDots::inbox, nothing either for a name with a dot, or for one that begins with "~", behind
// that prefix too: IMAP servers take it for another user's folder, and open none.
std::optional<std::string> maildir_folder(const std::string& mailbox, FolderDots dots);

// Why the inbox takes mail for `mailbox`, for which maildir_folder gave nothing: for a log.
std::string no_folder_note(const std::string& mailbox);

// The value that `word`, "inbox" or "listescape", stands for; the inbox for any other word.
FolderDots folder_dots_of(const std::string& word);

// Why `word` is not one of those, for a person; empty when it is.
std::string folder_dots_fault(const std::string& word);

}  // namespace Quarrow::Delivery

#endif  // QUARROW_DELIVERY_FOLDER_NAME_H_
