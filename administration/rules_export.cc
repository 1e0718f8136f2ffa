// The forms in which filters leave the system.
#include "administration/rules_export.h"

#include <set>

#include "administration/rules_json.h"
#include "administration/rules_text.h"
#include "message_filters/mailbox_name.h"
#include "system/utf8.h"

namespace Quarrow::Administration {
namespace {

using MessageFilters::FilterList__;

// A comment for each folder of an enabled filter whose name is encoded in the script.
std::string folder_comments(const FilterList__& filters) {
  std::set<std::string> comments;
  for (const auto& filter : filters.filters)
    for (const auto& action : filter->actions) {
      const std::string encoded = MessageFilters::imap_mailbox_name(action.target);
      if (filter->enabled && encoded != action.target)
        comments.insert("# " + encoded + " is the folder " + action.target + '\n');
    }
  std::string text;
  for (const auto& comment : comments) text += comment;
  return text;
}

}  // namespace

Refusal export_rules(const boost::shared_ptr<FilterList__>& filters, ExportForm form,
                     const std::string& object, std::string& text) {
  const std::string document = document_text(filters);
  switch (form) {
    case ExportForm::json:
      if (!is_utf8(document))
        return {Refusal::Kind::not_utf8, object,
                "the filters hold a text that is not UTF-8, and JSON can't hold that; export them "
                "as xml"};
      text = rules_json(*filters) + '\n';
      return {};
    case ExportForm::xml:
      text = document + '\n';
      return {};
    case ExportForm::sieve:
      text = script_text(filters, false) + folder_comments(*filters);
      return {};
  }
  return {};
}

}  // namespace Quarrow::Administration
