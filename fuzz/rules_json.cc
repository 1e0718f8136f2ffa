// Filters as JSON: those of an import and those of a request to the web server.
#include "administration/rules_json.h"

#include <nlohmann/json.hpp>

#include "administration/json_text.h"
#include "fuzz/expectation.h"
#include "fuzz/rules.h"
#include "fuzz/target.h"
#include "web_api/filter_reading.h"

namespace Quarrow::Fuzz {
namespace {

using MessageFilters::FilterList__;

void try_list(const std::string& text) {
  boost::shared_ptr<FilterList__> list;
  if (Administration::read_rules_json(text, list)) return;
  const std::string written = Administration::rules_json(*list, "0123456789ab");
  boost::shared_ptr<FilterList__> again;
  expect_equal("", Administration::read_rules_json(written, again).reason,
               "JSON that was written can be read");
  expect_equal(bytes_of(*list), bytes_of(*again), "it gives the same list");
}

// A filter that a browser sends: one without a mistake could be a user's.
void try_filter(const std::string& text) {
  nlohmann::ordered_json json;
  if (Administration::read_json_text(text, "body", json)) return;
  WebApi::Mistakes mistakes;
  const auto filter = WebApi::read_filter(json, {"", Delivery::FolderDots::inbox}, mistakes);
  if (!mistakes.empty()) return;
  const auto list = FilterList__::Create();
  expect(list->append(filter), "a filter without a mistake is valid");
  expect_sound(list);
}

void try_text(const std::string& text) {
  try_list(text);
  try_filter(text);
}

const Target target("rules_json", try_text);

}  // namespace
}  // namespace Quarrow::Fuzz
