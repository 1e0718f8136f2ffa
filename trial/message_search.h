// Finding a message by its Message-ID.
#ifndef QUARROW_TRIAL_MESSAGE_SEARCH_H_
#define QUARROW_TRIAL_MESSAGE_SEARCH_H_

#include <string>

#include "trial/isolated_runs.h"
#include "trial/mail_sources.h"

namespace Quarrow::Trial {

// `text` as a message identifier, with one pair of angle brackets around it (RFC 5322, section
// 3.6.4); empty when it names none.
std::string message_id_of(const std::string& text);

// The first message in the Maildir folder at `folder` whose Message-ID is `id`, as message_id_of
// gives it, in the order in which find_mail() finds them: one source, or none. The failures tell
// what could not be read on the way to it. The folder itself is no link, and neither is the one
// that holds it. `runs` reads the headers: this process looks for the identifier's bytes alone.
FoundMail find_message(const std::string& folder, const std::string& id, IsolatedRuns& runs);

}  // namespace Quarrow::Trial

#endif  // QUARROW_TRIAL_MESSAGE_SEARCH_H_
