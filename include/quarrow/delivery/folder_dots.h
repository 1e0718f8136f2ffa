// What becomes of mail for folders with a dot in the name.
#ifndef QUARROW_DELIVERY_FOLDER_DOTS_H_
#define QUARROW_DELIVERY_FOLDER_DOTS_H_

namespace Quarrow::Delivery {

// A dot separates levels on disk, so that a folder whose name has one needs another spelling there:
// one that the IMAP server reads.
enum class FolderDots {
  inbox,      // there is none, as in most IMAP servers: the inbox takes the mail
  listescape  // that of Dovecot's plugin listescape: "v1.2" is the folder ".v1\2e2"
};

}  // namespace Quarrow::Delivery

#endif  // QUARROW_DELIVERY_FOLDER_DOTS_H_
