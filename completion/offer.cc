// Names and words that the option parser knows.
#include "completion/offer.h"

#include <CLI/CLI.hpp>

#include <algorithm>

#include "system/printable.h"

namespace Quarrow::Completion {
namespace {

Offer subcommands_of(const CLI::App& command) {
  Offer offer;
  for (const CLI::App* each : command.get_subcommands(nullptr))
    offer.candidates.push_back({each->get_name(), each->get_description()});
  return offer;
}

// An option with a long name is offered by that.
Offer options_of(const CLI::App& command) {
  Offer offer;
  for (const CLI::Option* option : command.get_options()) {
    for (const std::string& name : option->get_lnames())
      offer.candidates.push_back({"--" + name, option->get_description()});
    if (!option->get_lnames().empty()) continue;
    for (const std::string& name : option->get_snames())
      offer.candidates.push_back({'-' + name, option->get_description()});
  }
  return offer;
}

Offer values_of(const Cursor& cursor, const Values& values) {
  const std::string type = cursor.option->get_type_name();
  if (type.find('|') == std::string::npos) return values(cursor);
  return offer_of(CLI::detail::split(type, '|'));
}

Offer all_at(const Cursor& cursor, const Values& values) {
  switch (cursor.place) {
    case Place::nothing:
      break;
    case Place::subcommand:
      return subcommands_of(*cursor.command);
    case Place::option_name:
      return options_of(*cursor.command);
    case Place::value:
      return values_of(cursor, values);
  }
  return {};
}

}  // namespace

Offer offer_at(const Cursor& cursor, const Values& values) {
  Offer offer = all_at(cursor, values);
  auto& candidates = offer.candidates;
  const auto is_useless = [&cursor](const Candidate& candidate) {
    return candidate.text.rfind(cursor.typed, 0) != 0 || has_control_characters(candidate.text);
  };
  candidates.erase(std::remove_if(candidates.begin(), candidates.end(), is_useless),
                   candidates.end());
  for (Candidate& candidate : candidates) {
    candidate.text = cursor.prefix + candidate.text;
    candidate.description = with_controls_as(' ', candidate.description);
  }
  return offer;
}

Offer offer_of(const std::vector<std::string>& words) {
  Offer offer;
  for (const std::string& word : words) offer.candidates.push_back({word});
  return offer;
}

}  // namespace Quarrow::Completion
