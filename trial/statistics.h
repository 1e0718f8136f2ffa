// How much each rule of a user has to do with their mail.
#ifndef QUARROW_TRIAL_STATISTICS_H_
#define QUARROW_TRIAL_STATISTICS_H_

#include <quarrow/filter_list.h>

#include <boost/shared_ptr.hpp>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "trial/mail_sources.h"
#include "trial/run.h"

namespace Quarrow::Trial {

// Numbers of messages.
struct RuleFigures {
  boost::shared_ptr<MessageFilters::Filter__> filter;
  std::uint64_t decides = 0;  // it is the first rule that matches them
  std::uint64_t matches = 0;  // it would decide about them alone
  // By the index of the rule that decides: messages that this rule would take, were it earlier.
  std::map<std::size_t, std::uint64_t> taken_by;
  // By folder, as Delivery::Plan names it, of those that it decides about. A message may go to
  // several folders.
  std::map<std::string, std::uint64_t> folders;
};

struct Statistics {
  std::vector<RuleFigures> rules;  // all rules, in their order
  std::uint64_t messages = 0;
  std::uint64_t undecided = 0;  // no rule matches: the inbox
  std::uint64_t failed = 0;     // the evaluation failed at a rule: the inbox
  std::uint64_t failed_sources = 0;
};

// Runs each enabled rule of `list` alone, in a helper process, over each message of `sources`. A
// source that can't be read is told to `on_failure`, and the bytes of each message to `on_progress`
// when it is done.
Statistics statistics_of(const MessageFilters::FilterList__& list,
                         const std::vector<MailSource>& sources, const RunSettings& settings,
                         const std::function<void(const SourceFailure&)>& on_failure,
                         const std::function<void(std::uint64_t)>& on_progress);

}  // namespace Quarrow::Trial

#endif  // QUARROW_TRIAL_STATISTICS_H_
