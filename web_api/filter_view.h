// Filters as the API shows them.
#ifndef QUARROW_WEB_API_FILTER_VIEW_H_
#define QUARROW_WEB_API_FILTER_VIEW_H_

#include <quarrow/filter_list.h>

#include <boost/shared_ptr.hpp>
#include <nlohmann/json.hpp>

#include "administration/rules_transaction.h"
#include "http/message.h"
#include "quarrow/delivery/folder_dots.h"
#include "refiling/mail_folders.h"

namespace Quarrow::WebApi {

using FilterListPointer = boost::shared_ptr<MessageFilters::FilterList__>;

// What warnings are made of, besides the rules.
struct Surroundings {
  const Refiling::MailFolders& folders;
  Delivery::FolderDots dots;
};

// The list in the form of rules_json.h; each filter has two members more: "sentence", and
// "warnings", which is a list of {"kind", "detail"} and perhaps "earlier", numbers of filters.
nlohmann::ordered_json view_of(const FilterListPointer& list, const Surroundings& surroundings);

// The list of opened rules, with their revision and the bytes of their script.
nlohmann::ordered_json view_of(Administration::RulesTransaction& rules,
                               const Surroundings& surroundings);

// An answer in JSON. Bytes that are not UTF-8 become U+FFFD.
Http::Response json_answer(int status, const nlohmann::ordered_json& body);

// The same with the rules' revision as its ETag.
Http::Response json_answer(int status, const nlohmann::ordered_json& body,
                           const std::string& revision);

}  // namespace Quarrow::WebApi

#endif  // QUARROW_WEB_API_FILTER_VIEW_H_
