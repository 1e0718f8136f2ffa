// Running a user's Sieve script over messages.
#ifndef QUARROW_EVALUATION_H_
#define QUARROW_EVALUATION_H_

#include <cstddef>

#include <sieve2.h>  // needs NULL from the line above

#include <boost/shared_ptr.hpp>
#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "quarrow/export.h"

class EmailAddress;
class MimePart;

namespace Quarrow {

// The log of an evaluation, given by the caller. Formats and arguments are printf's. No
// operation may throw, use a matcher or fork: the interpreter may be in the middle of a run.
class QUARROW_EXPORT SieveLog {
 public:
  virtual ~SieveLog() = default;
  virtual void Error(const char* format, ...) __attribute__((format(printf, 2, 3))) = 0;
  virtual void Warning(const char* format, ...) __attribute__((format(printf, 2, 3))) = 0;
  virtual void SetComponent(const char* name) = 0;
  virtual void Debug(const char* format, ...) __attribute__((format(printf, 2, 3))) = 0;
};

// A folder name. Reads as a string; calling it stores a name with its prefix "Inbox/" in that
// spelling.
class QUARROW_EXPORT MailboxName : public std::string {
 public:
  using std::string::string;
  using std::string::operator=;
  MailboxName() = default;
  MailboxName(const std::string& name) : std::string(name) {}

  // Stores `name`; a leading "Inbox/" in any case becomes "Inbox/". Nothing else is changed.
  void operator()(const std::string& name);
};

// An action that a script asked for.
struct QUARROW_EXPORT SieveAction {
  // The values of `type`.
  enum Type : unsigned int {
    KEEP = 0,
    FILEINTO = 1,
    VACATION = 2,  // 2 to 4 have names and an order, but no evaluation yields them
    NOTIFY = 3,
    REDIRECT = 4,
    REJECT = 5,
    DISCARD = 6
  };

  unsigned int type = KEEP;
  MailboxName
      mailbox;  // FILEINTO: the folder, in IMAP's mailbox encoding (RFC 3501, section 5.1.3)
  std::string message;  // REJECT: the text for the sender
};

// The outcome of one evaluation: an error, or the actions that the script asked for, strongest
// first.
struct QUARROW_EXPORT SieveMatchResult {
  // The values of `error`.
  enum Error : int {
    NONE = 0,
    PARSE_SCRIPT = 1,     // the script is not valid
    PARSE_HEADER = 2,     // the interpreter could not read a header
    PARSE_ADDRESS = 3,    // the interpreter could not read an address
    INVALID_MESSAGE = 4,  // there was no message
    UNKNOWN = 5           // anything else that the interpreter reported
  };

  // Adds an action and puts the list in descending order of type. Nothing is merged.
  void add_action(const SieveAction& action);

  // Whether `a` is of a stronger type than `b`.
  static bool comp(const SieveAction& a, const SieveAction& b);

  int error = NONE;  // other than NONE: the actions say nothing
  std::vector<SieveAction> actions;
};

// Writes the result on one line: "MatchResult [action=FILEINTO:Work,action=KEEP]", "MatchResult
// [error=PARSE_SCRIPT]".
QUARROW_EXPORT std::ostream& operator<<(std::ostream& os, const SieveMatchResult& result);

// A user's script, ready to be run over any number of messages, one after the other. One thread at
// a time uses a matcher; several matchers may be used in parallel.
class QUARROW_EXPORT SieveMatch {
 public:
  virtual ~SieveMatch() = default;

  // Runs the script over `message`, whose size is `size` bytes and which was received at `time`, in
  // seconds since the epoch. No action at all means that no rule matched. A null message gives
  // INVALID_MESSAGE.
  virtual SieveMatchResult Match(MimePart* message, unsigned long size, long time) = 0;

  // A matcher of the script at `path`, or null when it is missing, unreadable, empty or not valid.
  // Of a script only the first 32768 bytes count. The caller owns the matcher, and the matcher owns
  // `log`, which may be null; when null is returned, the log has been deleted.
  static SieveMatch* Create(const std::string& path, SieveLog* log);

  // The same for the script in the folder of the user `address`.
  static SieveMatch* Create(const EmailAddress& address, SieveLog* log);
};

// The order of header names: regardless of ASCII case.
struct QUARROW_EXPORT icaseless {
  bool operator()(const std::string& a, const std::string& b) const;
};

// The matcher on libsieve. Callers use SieveMatch; the operations below Match answer libsieve's
// callbacks and give 0, or 8 (unsupported) or 9 (bad arguments) as libsieve numbers them.
class QUARROW_EXPORT SieveMatchImpl : public SieveMatch {
 public:
  // Takes over `log`. Reads nothing yet; a set-up that fails is logged and makes Validate() fail.
  SieveMatchImpl(const std::string& path, SieveLog* log);
  ~SieveMatchImpl() override;
  SieveMatchImpl(const SieveMatchImpl&) = delete;
  SieveMatchImpl& operator=(const SieveMatchImpl&) = delete;

  SieveMatchResult Match(MimePart* message, unsigned long size, long time) override;

  // Reads the script and has libsieve check it. Call it once, before Match.
  bool Validate();

  // libsieve calls this for every code that is handled; `user` is the matcher.
  static int sieve_callback(sieve2_context* ctx, void* user);

  int OnAction(sieve2_context* ctx, sieve2_values_t code);
  int OnError(sieve2_context* ctx, sieve2_values_t code);
  int Trace(sieve2_context* ctx);
  int GetScript(sieve2_context* ctx);
  int GetHeader(sieve2_context* ctx);
  int GetSize(sieve2_context* ctx);
  int GetSubAddress(sieve2_context* ctx);

  // The value of a header, computed or read from the message, in UTF-8; null when there is none.
  // The caller frees it.
  const char* GetHeader(const std::string& name);
  const char* GetMailHeader(const std::string& name);
  const char* GetReceivedDate(const std::string& name);

  void InitHeaderProcMap();
  void ClearCache();

  using HeaderProc = const char* (SieveMatchImpl::*)(const std::string& name);

  std::string path;
  boost::shared_ptr<SieveLog> log;
  sieve2_context* context;  // null but during a use of the interpreter
  char* script;             // null when the set-up failed
  std::size_t script_length;
  MimePart* message;
  unsigned long message_size;
  long received_time;
  std::map<std::string, char**, icaseless> header_cache;
  std::map<std::string, HeaderProc, icaseless> header_procs;
  SieveMatchResult result;
};

}  // namespace Quarrow

#endif  // QUARROW_EVALUATION_H_
