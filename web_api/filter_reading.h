// Filters, tests and actions that come in as JSON, with all that is wrong with them.
#ifndef QUARROW_WEB_API_FILTER_READING_H_
#define QUARROW_WEB_API_FILTER_READING_H_

#include <quarrow/rule_model.h>

#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "http/problem.h"
#include "quarrow/delivery/folder_dots.h"

namespace Quarrow::WebApi {

using Mistakes = std::vector<Http::Mistake>;

// Where JSON stands in a body, and what delivery does with folders with a dot in the name.
struct Reading {
  std::string pointer;  // such as /filters/0; empty for the body itself
  Delivery::FolderDots dots = Delivery::FolderDots::inbox;
};

// The filter of which `json` has the members of rules_json.h: the number may be missing, and is 0
// then. "sentence" and "warnings", which the API shows beside them, are not looked at. Adds each
// mistake to `mistakes`, with its place; the filter is a whole one when there is none.
boost::shared_ptr<MessageFilters::Filter__> read_filter(const nlohmann::ordered_json& json,
                                                        const Reading& reading, Mistakes& mistakes);

// The same for one test.
MessageFilters::Test read_test(const nlohmann::ordered_json& json, const Reading& reading,
                               Mistakes& mistakes);

// `text` as one step of a pointer (RFC 6901): "/a~1b" for "a/b".
std::string pointer_step(const std::string& text);

}  // namespace Quarrow::WebApi

#endif  // QUARROW_WEB_API_FILTER_READING_H_
