// The replacement of a rules document, its script and its history, which a process that is killed,
// or a power failure, leaves done or undone.
#ifndef QUARROW_ADMINISTRATION_RULES_REPLACEMENT_H_
#define QUARROW_ADMINISTRATION_RULES_REPLACEMENT_H_

#include <string>

#include "administration/refusal.h"
#include "administration/user_folder.h"

namespace Quarrow::Administration {

// The names of the new files until they take the places of the old ones.
constexpr char document_draft_name[] = ".delivery_filter.xml.new";
constexpr char script_draft_name[] = ".delivery_filter.new";
constexpr char history_draft_name[] = ".delivery_filter.history.new";

// The texts of a user's three files.
struct RulesTexts {
  std::string document;
  std::string script;
  std::string history;  // empty: the history stays as it is
};

// Replaces the files in `folder` by these texts. The rules are replaced when the document is: a
// refusal before that leaves all files as they were; when only script and history could not be
// replaced, the refusal says so, and finish_replacement() does it later.
Refusal replace_rules(const UserFolder& folder, const RulesTexts& texts);

// Finishes what a process left that was stopped in replace_rules(). `document` and `script` are
// those of the rules that are in place; the script is empty when there are none.
void finish_replacement(const UserFolder& folder, const std::string& document,
                        const std::string& script);

// Puts back, and clears away, what earlier versions leave when they are stopped in a commit: they
// removed the old file before they gave its name to the new one, and kept it under a second name.
void take_up_earlier_commit(const UserFolder& folder);

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_RULES_REPLACEMENT_H_
