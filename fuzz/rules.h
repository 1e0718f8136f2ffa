// Rules and scripts, as several targets need them.
#ifndef QUARROW_FUZZ_RULES_H_
#define QUARROW_FUZZ_RULES_H_

#include <quarrow/evaluation.h>
#include <quarrow/filter_list.h>

#include <boost/shared_ptr.hpp>
#include <memory>
#include <string>

namespace Quarrow::Fuzz {

// All that a filter, or a list, holds, as bytes that are equal for equal ones. Whether a field is
// the user's own is no part of it: documents do not store that.
std::string bytes_of(const MessageFilters::Test& test);
std::string bytes_of(const MessageFilters::Action& action);
std::string bytes_of(const MessageFilters::Filter__& filter);
std::string bytes_of(const MessageFilters::FilterList__& list);

// A matcher of `script`; null when it is not accepted.
std::unique_ptr<SieveMatch> matcher_of(const std::string& script);

// The result of `matcher` over a whole message.
SieveMatchResult result_of(SieveMatch& matcher, const std::string& message);

// A result as a line.
std::string text_of(const SieveMatchResult& result);

// Expects what holds for each list whose filters a user could have made: its script compiles
// unless it is too long, and document and JSON give the same list again.
void expect_sound(const boost::shared_ptr<MessageFilters::FilterList__>& list);

// When the messages of the targets are received: 2026-05-04, at noon (UTC).
constexpr long received_time = 1777896000;

}  // namespace Quarrow::Fuzz

#endif  // QUARROW_FUZZ_RULES_H_
