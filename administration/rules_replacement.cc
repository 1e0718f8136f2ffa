// Drafts, the document's renaming, and then the script's.
//
// There is no record of how far a replacement came. The draft of the script is written and on the
// disk before the document is replaced, so that it is the script of the document in place exactly
// when the document was replaced and the script was not.
#include "administration/rules_replacement.h"

#include <cerrno>

#include "message_filters/script_words.h"
#include "message_filters/user_files.h"

namespace Quarrow::Administration {
namespace {

const std::string script_file = script_name;
const std::string document_file = rules_document_of(script_name);

void remove_drafts(const UserFolder& folder) {
  folder.remove(script_draft_name);
  folder.remove(document_draft_name);
}

Refusal write_drafts(const UserFolder& folder, const std::string& document,
                     const std::string& script) {
  const std::string step = "the rules could not be written; nothing was changed";
  if (folder.holds_folder(script_file))
    return system_refusal(folder.file(script_file), step, EISDIR);
  if (const int error = folder.write_new(document_draft_name, document))
    return system_refusal(folder.file(document_draft_name), step, error);
  if (const int error = folder.write_new(script_draft_name, script))
    return system_refusal(folder.file(script_draft_name), step, error);
  if (const int error = folder.synchronise()) return system_refusal(folder.path(), step, error);
  return {};
}

// From here on the new rules hold.
Refusal replace_document(const UserFolder& folder) {
  if (const int error = folder.rename(document_draft_name, document_file))
    return system_refusal(folder.file(document_file),
                          "the rules could not be written; nothing was changed", error);
  return {};
}

Refusal replace_script(const UserFolder& folder) {
  int error = folder.synchronise();
  if (error == 0) error = folder.rename(script_draft_name, script_file);
  if (error == 0) error = folder.synchronise();
  if (error == 0) return {};
  return system_refusal(folder.file(script_file),
                        "the rules are changed, but their script may not be in place; the next "
                        "filter command puts it there",
                        error);
}

void take_up(const UserFolder& folder, const std::string& name) {
  const std::string kept = name + ".kept";
  if (folder.holds(name))
    folder.remove(kept);
  else
    (void)folder.rename(kept, name);  // mostly there is none
  folder.remove(temporary_path(name));
}

}  // namespace

Refusal replace_rules(const UserFolder& folder, const std::string& document,
                      const std::string& script) {
  Refusal refusal = write_drafts(folder, document, script);
  if (!refusal) refusal = replace_document(folder);
  if (!refusal) return replace_script(folder);
  remove_drafts(folder);
  return refusal;
}

void finish_replacement(const UserFolder& folder, const std::string& script) {
  std::string draft;
  const bool is_due = folder.read(script_draft_name, script_limit + 1, draft) == 0 &&
                      !script.empty() && draft == script;
  if (is_due)
    (void)replace_script(folder);  // the next transaction tries again
  else
    folder.remove(script_draft_name);
  folder.remove(document_draft_name);
}

void take_up_earlier_commit(const UserFolder& folder) {
  take_up(folder, document_file);
  take_up(folder, script_file);
}

}  // namespace Quarrow::Administration
