// The form of a user's folder, flat or hashed, and its change.
#ifndef QUARROW_ADMINISTRATION_FOLDER_FORM_H_
#define QUARROW_ADMINISTRATION_FOLDER_FORM_H_

#include <zvellparser.h>

#include <string>

#include "administration/refusal.h"

namespace Quarrow::Administration {

enum class FolderForm {
  flat,   // as ZvMailUserId::plain_prefpath() names it, or in the spelling of earlier versions
  hashed  // as ZvMailUserId::hashed_prefpath() names it
};

struct FormChange {
  std::string from;
  std::string to;

  // Whether the folder has another form so far.
  bool is_needed() const { return from != to; }
};

// A folder of the user in another form or spelling than the one in use; empty when there is none.
std::string second_folder(const EmailAddress& address);

// Says in `change` what change_form would do, and does nothing. Refuses an unknown user, one who
// has folders of both forms, and a folder that is a link with a relative target, which would lead
// elsewhere.
Refusal plan_form_change(const std::string& root, const EmailAddress& address, FolderForm form,
                         FormChange& change);

// Moves the user's folder to where that form has it, in one step of the file system, and puts it on
// the disk. The superuser does so as the owner of the folders above it. Whoever has a file or
// folder of the user open goes on with it; whoever has looked up the old path finds nothing there,
// and must look the user up again. A process that is stopped leaves the user in either form.
Refusal change_form(const std::string& root, const EmailAddress& address, FolderForm form,
                    FormChange& change);

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_FOLDER_FORM_H_
