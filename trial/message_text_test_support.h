// Messages that are texts, for tests of runs over them.
#ifndef QUARROW_TRIAL_MESSAGE_TEXT_TEST_SUPPORT_H_
#define QUARROW_TRIAL_MESSAGE_TEXT_TEST_SUPPORT_H_

#include <quarrow/filter_list.h>

#include <boost/shared_ptr.hpp>
#include <initializer_list>
#include <sstream>
#include <string>

#include "message_filters/sieve_script.h"
#include "trial/mail_contents.h"

namespace Quarrow::Trial {

inline FoundMessage message_of(const std::string& text) { return {"a", text, -1}; }

inline boost::shared_ptr<MessageFilters::FilterList__> list_with(
    std::initializer_list<boost::shared_ptr<MessageFilters::Filter__>> filters) {
  const auto list = MessageFilters::FilterList__::Create();
  for (const auto& filter : filters) list->append(filter);
  return list;
}

inline std::string script_of(const boost::shared_ptr<MessageFilters::FilterList__>& list) {
  std::ostringstream script;
  return write_script(list, false, script) ? script.str() : "";
}

}  // namespace Quarrow::Trial

#endif  // QUARROW_TRIAL_MESSAGE_TEXT_TEST_SUPPORT_H_
