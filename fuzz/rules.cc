// Rules compared, compiled and run.
#include "fuzz/rules.h"

#include <zvellparser.h>

#include <sstream>

#include "administration/rules_json.h"
#include "administration/rules_text.h"
#include "fuzz/expectation.h"
#include "message_filters/script_words.h"
#include "system/memory_file.h"
#include "system/packet.h"

namespace Quarrow::Fuzz {

using MessageFilters::Action;
using MessageFilters::Filter__;
using MessageFilters::FilterList__;
using MessageFilters::Test;

std::string bytes_of(const Test& test) {
  PacketWriter writer;
  writer.text(test.field.type);
  writer.text(test.field.name);
  writer.number(test.negative ? 1 : 0);
  writer.number(test.match_case ? 1 : 0);
  writer.text(test.comparator);
  writer.text(test.value);
  return writer.packet();
}

std::string bytes_of(const Action& action) {
  PacketWriter writer;
  writer.text(action.method);
  writer.text(action.target);
  writer.text(action.value);
  return writer.packet();
}

std::string bytes_of(const Filter__& filter) {
  PacketWriter writer;
  writer.number(filter.enabled ? 1 : 0);
  writer.text(filter.name);
  writer.text(std::to_string(filter.id));
  writer.text(filter.relation);
  for (const Test& test : filter.tests) writer.text(bytes_of(test));
  for (const Action& action : filter.actions) writer.text(bytes_of(action));
  return writer.packet();
}

std::string bytes_of(const FilterList__& list) {
  PacketWriter writer;
  for (const auto& filter : list.filters) writer.text(bytes_of(*filter));
  return writer.packet();
}

std::unique_ptr<SieveMatch> matcher_of(const std::string& script) {
  const MemoryFile file;
  expect(file.write(script), "a script fits into memory");
  return std::unique_ptr<SieveMatch>(SieveMatch::Create(file.path(), nullptr));
}

SieveMatchResult result_of(SieveMatch& matcher, const std::string& message) {
  const auto part = MimePart::parse(message.data(), message.size());
  return matcher.Match(part.get(), message.size(), received_time);
}

std::string text_of(const SieveMatchResult& result) {
  std::ostringstream text;
  text << result;
  return text.str();
}

void expect_sound(const boost::shared_ptr<FilterList__>& list) {
  for (const bool include_disabled : {false, true}) {
    const std::string script = Administration::script_text(list, include_disabled);
    expect(!script.empty(), "a list of valid filters has a script");
    if (script.size() <= script_limit) expect(matcher_of(script) != nullptr, "its script compiles");
  }
  const std::string document = Administration::document_text(list);
  const auto of_document = Administration::list_of(document);
  expect(of_document != nullptr, "its document can be read");
  expect_equal(bytes_of(*list), bytes_of(*of_document), "its document gives the same list");
  boost::shared_ptr<FilterList__> of_json;
  const auto refusal = Administration::read_rules_json(Administration::rules_json(*list), of_json);
  expect_equal("", refusal.reason, "its JSON can be read");
  expect_equal(bytes_of(*list), bytes_of(*of_json), "its JSON gives the same list");
}

}  // namespace Quarrow::Fuzz
