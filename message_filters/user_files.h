// The names of the files in a user's folder, and the place of the system's catalogue.
#ifndef QUARROW_MESSAGE_FILTERS_USER_FILES_H_
#define QUARROW_MESSAGE_FILTERS_USER_FILES_H_

#include <string>

namespace Quarrow {

// The script that delivery runs, the user's own fields, and the user's mail.
constexpr char script_name[] = ".delivery_filter";
constexpr char custom_fields_name[] = ".delivery_filter.custom.xml";
constexpr char maildir_name[] = "Maildir";

// What delivery noted of each message, where it is asked to.
constexpr char journal_name[] = ".delivery_journal";

// A file that is there while the user is being moved to another machine, and what locks the rules.
constexpr char user_lock_name[] = ".quarrow_lock";
constexpr char rules_lock_name[] = ".delivery_filter.lock";

// The fields that every system offers, for all users.
constexpr char system_catalogue[] = "/var/spool/etc/message_filter_fields.xml";

// The path of a file in the user's folder `folder`.
inline std::string in_folder(const std::string& folder, const char* name) {
  return folder + '/' + name;
}

// The rules document of the script at `script`: it lies beside it.
inline std::string rules_document_of(const std::string& script) { return script + ".xml"; }

// The states that those rules had: it lies beside them, too.
inline std::string rules_history_of(const std::string& script) { return script + ".history"; }

// Where the journal at `journal` is put aside once it is long or old.
inline std::string journal_put_aside(const std::string& journal) { return journal + ".old"; }

// Where the new content of the file `path` is written before it takes its place.
inline std::string temporary_path(const std::string& path) { return path + ".tmp"; }

}  // namespace Quarrow

#endif  // QUARROW_MESSAGE_FILTERS_USER_FILES_H_
