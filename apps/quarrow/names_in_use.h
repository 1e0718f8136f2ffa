// The names that a user's files hold, for a person who is about to type one.
//
// They are looked for in a process of its own, as the owner of the user's folder where this one is
// root's. Nothing is written and no lock is waited for: names may be those of a moment ago. Files
// that are damaged, or may not be read, hold no names.
#ifndef QUARROW_APPS_QUARROW_NAMES_IN_USE_H_
#define QUARROW_APPS_QUARROW_NAMES_IN_USE_H_

#include <zvellparser.h>

#include <string>
#include <vector>

namespace Quarrow::Command {

// A name, and what it stands for in a few words.
struct NameInUse {
  std::string name;
  std::string meaning;
};

// The filters of the user, who is not null: the names that one filter has alone, and the ids.
std::vector<NameInUse> filters_in_use(const EmailAddress& user);

// The revisions in the user's history, the newest first.
std::vector<NameInUse> revisions_in_use(const EmailAddress& user);

// The fields of the user's own.
std::vector<NameInUse> own_fields_in_use(const EmailAddress& user);

// The folders of the user's mail, as a person writes them; the inbox comes first.
std::vector<NameInUse> folders_in_use(const EmailAddress& user);

}  // namespace Quarrow::Command

#endif  // QUARROW_APPS_QUARROW_NAMES_IN_USE_H_
