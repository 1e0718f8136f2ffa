// Files in a user's folder, read as they are.
#include "apps/quarrow/names_in_use.h"

#include <quarrow/user_stores.h>
#include <unistd.h>

#include <algorithm>
#include <functional>

#include "administration/filter_reference.h"
#include "administration/guarded_process.h"
#include "administration/rules_history.h"
#include "administration/rules_text.h"
#include "administration/user_folder.h"
#include "administration/users.h"
#include "apps/quarrow/time_text.h"
#include "message_filters/user_files.h"
#include "message_filters/xml_text.h"
#include "refiling/mail_folders.h"
#include "system/memory_file.h"
#include "system/packet.h"

namespace Quarrow::Command {
namespace {

using Administration::GuardedOutcome;
using Administration::UserFolder;
using Names = std::vector<NameInUse>;

// A person who types waits no longer, in seconds.
constexpr unsigned patience = 2;

std::string packed(const Names& names) {
  PacketWriter writer;
  for (const NameInUse& each : names) {
    writer.text(each.name);
    writer.text(each.meaning);
  }
  return writer.packet();
}

Names unpacked(const std::string& packet) {
  PacketReader reader(packet);
  Names names;
  while (!packet.empty() && !reader.at_end() && !reader.failed()) {
    std::string name = reader.text();
    names.push_back({std::move(name), reader.text()});
  }
  return names;
}

Names look_into(const EmailAddress& user, const std::function<Names(const UserFolder&)>& look) {
  const std::string path = Administration::user_folder(user);
  const auto work = [&]() -> GuardedOutcome {
    (void)alarm(patience);  // its signal ends the process
    UserFolder folder(path);
    if (const auto refusal = folder.open()) return {refusal, ""};
    return {{}, folder.is_open() ? packed(look(folder)) : ""};
  };
  return unpacked(Administration::run_guarded(path, work).answer);
}

// Empty for a file that can't be read, or that has more bytes than such a file can have.
std::string text_of(const UserFolder& folder, const std::string& name, std::size_t most) {
  std::string text;
  return folder.read(name, most + 1, text) == 0 && text.size() <= most ? text : "";
}

Names filters_in(const UserFolder& folder) {
  const std::string document =
      text_of(folder, rules_document_of(script_name), MessageFilters::most_xml_bytes);
  const auto list = document.empty() ? nullptr : Administration::list_of_quietly(document);
  if (!list) return {};
  const auto& filters = list->filters;
  Names names;
  for (const auto& filter : filters) {
    const auto has_name = [&filter](const auto& other) { return other->name == filter->name; };
    if (!Administration::is_filter_id(filter->name) &&
        std::count_if(filters.begin(), filters.end(), has_name) == 1)
      names.push_back({filter->name, "filter " + std::to_string(filter->id)});
  }
  for (const auto& filter : filters) names.push_back({std::to_string(filter->id), filter->name});
  return names;
}

Names revisions_in(const UserFolder& folder) {
  const Administration::RulesHistory history(
      text_of(folder, rules_history_of(script_name), Administration::most_history_bytes));
  Names names;
  for (auto state = history.states().rbegin(); state != history.states().rend(); ++state) {
    const auto is_same = [&state](const NameInUse& each) { return each.name == state->revision; };
    if (std::none_of(names.begin(), names.end(), is_same))
      names.push_back({state->revision, (state->time == 0 ? "" : time_text(state->time) + ' ') +
                                            origin_word(state->origin) +
                                            (state->who.empty() ? "" : " by " + state->who)});
  }
  return names;
}

Names own_fields_in(const UserFolder& folder) {
  MessageFilters::UserFields__ fields{EmailAddress()};
  fields.fields.clear();  // those of the system
  const MemoryFile file;  // the library reads a path
  const std::string text = text_of(folder, custom_fields_name, MessageFilters::most_xml_bytes);
  if (text.empty() || !file.write(text) || !fields.load(file.path(), true)) return {};
  Names names;
  for (const auto& field : fields.fields) names.push_back({field.name, field.type});
  return names;
}

Names folders_in(const UserFolder& folder) {
  Names names;
  for (const auto& name : Refiling::MailFolders(maildir_name, folder.fd()).names())
    names.push_back({name, ""});
  return names;
}

}  // namespace

std::vector<NameInUse> filters_in_use(const EmailAddress& user) {
  return look_into(user, filters_in);
}

std::vector<NameInUse> revisions_in_use(const EmailAddress& user) {
  return look_into(user, revisions_in);
}

std::vector<NameInUse> own_fields_in_use(const EmailAddress& user) {
  return look_into(user, own_fields_in);
}

std::vector<NameInUse> folders_in_use(const EmailAddress& user) {
  return look_into(user, folders_in);
}

}  // namespace Quarrow::Command
