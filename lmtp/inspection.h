// A look at the places of mail before the first message comes.
#ifndef QUARROW_LMTP_INSPECTION_H_
#define QUARROW_LMTP_INSPECTION_H_

#include <string>
#include <vector>

namespace Quarrow::Lmtp {

// What will keep messages from being delivered, a line for each: a root that is no folder or can't
// be entered, a spool that no file can be made in, users' folders that this process can't write.
// Looks at no more than most_inspected_users, and tells of most_told_folders at most. Empty when
// all is well.
std::vector<std::string> faults_of(const std::string& root, const std::string& spool);

// What keeps all messages from being delivered: the root is no folder, or can't be entered. Empty
// when it can.
std::string fault_of_root(const std::string& root);

}  // namespace Quarrow::Lmtp

#endif  // QUARROW_LMTP_INSPECTION_H_
