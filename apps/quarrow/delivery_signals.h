// How signals end quarrow deliver: by an exit status, and not while a message is being stored.
#ifndef QUARROW_APPS_QUARROW_DELIVERY_SIGNALS_H_
#define QUARROW_APPS_QUARROW_DELIVERY_SIGNALS_H_

namespace Quarrow::Command {

// From here on a signal that would end this process makes it exit with EX_TEMPFAIL instead: some
// mail servers take an end by a signal for a permanent failure. SIGPIPE and SIGXFSZ are ignored, so
// that the call that causes one fails. SIGKILL can't be changed.
void exit_on_signals();

// From here on the signals by which others ask this process to end wait. Called before the message
// goes to disk: an end after that would leave litter, or a message in a folder that the mail server
// delivers once more.
void put_off_requests_to_end();

}  // namespace Quarrow::Command

#endif  // QUARROW_APPS_QUARROW_DELIVERY_SIGNALS_H_
