// Drafts, the document's renaming, and then those of script and history.
//
// There is no record of how far a replacement came. The drafts of script and history are written
// and on the disk before the document is replaced. So the one is the script of the document in
// place, and the other has that document as its newest state, exactly when the document was
// replaced and they were not.
#include "administration/rules_replacement.h"

#include <cerrno>
#include <vector>

#include "administration/rules_history.h"
#include "message_filters/script_words.h"
#include "message_filters/user_files.h"

namespace Quarrow::Administration {
namespace {

const std::string script_file = script_name;
const std::string document_file = rules_document_of(script_name);
const std::string history_file = rules_history_of(script_name);

void remove_drafts(const UserFolder& folder) {
  folder.remove(script_draft_name);
  folder.remove(history_draft_name);
  folder.remove(document_draft_name);
}

Refusal write_drafts(const UserFolder& folder, const RulesTexts& texts) {
  const struct {
    const char* name;
    const std::string& text;
  } drafts[] = {{document_draft_name, texts.document},
                {script_draft_name, texts.script},
                {history_draft_name, texts.history}};
  const std::string step = "the rules could not be written; nothing was changed";
  if (folder.holds_folder(script_file))
    return system_refusal(folder.file(script_file), step, EISDIR);
  for (const auto& draft : drafts)
    if (const int error = draft.text.empty() ? 0 : folder.write_new(draft.name, draft.text))
      return system_refusal(folder.file(draft.name), step, error);
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

// A file that is replaced behind the document.
struct Follower {
  const char* what;
  const char* draft;
  const std::string& file;
};

const Follower script_follower = {"script", script_draft_name, script_file};
const Follower history_follower = {"history", history_draft_name, history_file};

// Gives their names to the drafts of these files.
Refusal replace_followers(const UserFolder& folder, const std::vector<Follower>& followers) {
  const Follower* last = &followers.front();
  int error = folder.synchronise();
  for (auto each = followers.begin(); each != followers.end() && error == 0; ++each) {
    last = &*each;
    error = folder.rename(last->draft, last->file);
  }
  if (error == 0) error = folder.synchronise();
  if (error == 0) return {};
  return system_refusal(folder.file(last->file),
                        std::string("the rules are changed, but their ") + last->what +
                            " may not be in place; the next filter command puts it there",
                        error);
}

bool is_script_due(const UserFolder& folder, const std::string& script) {
  std::string draft;
  return folder.read(script_draft_name, script_limit + 1, draft) == 0 && !script.empty() &&
         draft == script;
}

bool is_history_due(const UserFolder& folder, const std::string& document) {
  std::string draft;
  if (folder.read(history_draft_name, most_history_bytes, draft) != 0) return false;
  const RulesHistory history(draft);
  return !history.states().empty() && history.states().back().document == document;
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

Refusal replace_rules(const UserFolder& folder, const RulesTexts& texts) {
  std::vector<Follower> followers = {script_follower};
  if (!texts.history.empty()) followers.push_back(history_follower);
  Refusal refusal = write_drafts(folder, texts);
  if (!refusal) refusal = replace_document(folder);
  if (!refusal) return replace_followers(folder, followers);
  remove_drafts(folder);
  return refusal;
}

void finish_replacement(const UserFolder& folder, const std::string& document,
                        const std::string& script) {
  std::vector<Follower> due;
  const auto settle = [&](const Follower& follower, bool is_due) {
    if (is_due)
      due.push_back(follower);
    else
      folder.remove(follower.draft);
  };
  settle(script_follower, is_script_due(folder, script));
  settle(history_follower, is_history_due(folder, document));
  folder.remove(document_draft_name);
  if (!due.empty()) (void)replace_followers(folder, due);  // the next transaction tries again
}

void take_up_earlier_commit(const UserFolder& folder) {
  take_up(folder, document_file);
  take_up(folder, script_file);
}

}  // namespace Quarrow::Administration
