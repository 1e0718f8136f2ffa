// The two forms in which the result of a message is printed.
#ifndef QUARROW_APPS_QUARROW_MATCH_OUTPUT_H_
#define QUARROW_APPS_QUARROW_MATCH_OUTPUT_H_

#include <quarrow/evaluation.h>

#include <string>

namespace Quarrow::Command {

// The message's name, a tab and the result's text, control characters escaped, without a line end.
std::string result_line(const std::string& name, const SieveMatchResult& result);

// {"message": ..., "actions": [{"action": "fileinto", "mailbox": ...}, ...], "rule": ...}, without
// "rule" when that is empty, or {"message": ..., "error": ...}, on one line without its end. `rule`
// is the name of the filter that decided. Bytes that are no UTF-8 become U+FFFD.
std::string result_json(const std::string& name, const SieveMatchResult& result,
                        const std::string& rule);

}  // namespace Quarrow::Command

#endif  // QUARROW_APPS_QUARROW_MATCH_OUTPUT_H_
