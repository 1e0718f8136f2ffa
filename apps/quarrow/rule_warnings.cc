// A line for each remark.
#include "apps/quarrow/rule_warnings.h"

#include <sysexits.h>

#include <set>

#include "administration/rule_analysis.h"
#include "apps/quarrow/complaint.h"
#include "message_filters/user_files.h"
#include "refiling/mail_folders.h"

namespace Quarrow::Command {

void warn_of_rules(const MessageFilters::FilterList__& list, std::int32_t id) {
  for (const auto& remark : Administration::rule_remarks(list))
    if (concerns(remark, id))
      (void)complain("filter " + std::to_string(remark.filter),
                     remark.reason + "; " + remark.advice, EX_OK);
}

void warn_of_folders(const std::string& user_folder, const MessageFilters::Filter__& filter,
                     Delivery::FolderDots dots) {
  const Refiling::MailFolders folders(in_folder(user_folder, maildir_name));
  std::set<std::string> targets;
  for (const auto& action : filter.actions)
    if (!action.target.empty()) targets.insert(action.target);
  for (const auto& target : targets)
    if (folders.is_missing(target, dots))
      (void)complain("filter " + std::to_string(filter.id),
                     "the folder " + target + " does not exist yet; it is made at delivery" +
                         folders.question(target),
                     EX_OK);
}

}  // namespace Quarrow::Command
