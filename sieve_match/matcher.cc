// A user's script: loaded, checked and run through the interpreter.

#include <fcntl.h>
#include <unistd.h>
#include <zvellparser.h>
#include <zvelluser.h>

#include <cerrno>
#include <cstdlib>
#include <memory>

#include "message_filters/script_words.h"
#include "message_filters/user_files.h"
#include "quarrow/evaluation.h"
#include "sieve_match/interpreter.h"
#include "sieve_match/script_check.h"
#include "system/descriptor.h"

namespace Quarrow {
namespace {

// The folder of the files that belong to a user, as hosts number the kinds.
constexpr int preferences_folder = 5;

// Reads the start of a script into `buffer`, as read(2) does. Without a buffer, after a set-up that
// failed, a file that holds something can't be read: EFAULT.
ssize_t read_script(int fd, char* buffer) {
  if (buffer != nullptr) return read(fd, buffer, script_limit);
  char byte = 0;
  const ssize_t count = read(fd, &byte, 1);
  if (count <= 0) return count;
  errno = EFAULT;
  return -1;
}

// Reads the start of the script file into the matcher's buffer, with one read. False when there is
// nothing to run.
bool load_script(SieveMatchImpl& matcher) {
  const char* path = matcher.path.c_str();
  // A fifo in place of the file must not hold the caller up.
  const Descriptor file(open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (file.get() < 0) {
    if (matcher.log) matcher.log->Error("failed to open rule file '%s', errno = %d", path, errno);
    return false;
  }
  const ssize_t count = read_script(file.get(), matcher.script);
  if (count < 0 && matcher.log)
    matcher.log->Error("failed to read rule file '%s', errno = %d", path, errno);
  matcher.script_length = count < 0 ? 0 : static_cast<std::size_t>(count);
  return matcher.script_length != 0;
}

// One run of the interpreter for `matcher`; libsieve's error code.
int use_interpreter(SieveMatchImpl& matcher, int (interpreter::Use::*task)(SieveMatchImpl*)) {
  interpreter::Use use(matcher.context);
  if (use.created() != SIEVE2_OK) return use.created();
  const int installed = use.install_callbacks(matcher.log != nullptr);
  return installed != SIEVE2_OK ? installed : (use.*task)(&matcher);
}

// Whether the interpreter may run the matcher's script, and takes it.
bool is_good_script(SieveMatchImpl& matcher) {
  if (has_unsafe_words(matcher.script)) {
    *matcher.script = '\0';  // a caller who runs it all the same must not run these words
    return false;
  }
  // The interpreter's result alone never says that a script is bad.
  return use_interpreter(matcher, &interpreter::Use::validate) == SIEVE2_OK &&
         matcher.result.error == SieveMatchResult::NONE;
}

}  // namespace

SieveMatch* SieveMatch::Create(const std::string& path, SieveLog* log) {
  auto matcher = std::make_unique<SieveMatchImpl>(path, log);
  return matcher->Validate() ? matcher.release() : nullptr;
}

SieveMatch* SieveMatch::Create(const EmailAddress& address, SieveLog* log) {
  char folder[1024] = "";
  (void)mailuser_filename(preferences_folder, folder, sizeof folder, address.address());
  return Create(in_folder(folder, script_name), log);
}

// The context made here is only tried out: see interpreter::Use.
SieveMatchImpl::SieveMatchImpl(const std::string& script_path, SieveLog* caller_log)
    : path(script_path),
      log(caller_log),
      context(nullptr),
      script(nullptr),
      script_length(0),
      message(nullptr),
      message_size(0),
      received_time(0) {
  if (log) log->SetComponent("SieveMatchImpl");
  interpreter::Use use(context);
  if (use.created() != SIEVE2_OK) {
    if (log) log->Error("failed to create sieve context");
    return;
  }
  script = static_cast<char*>(std::calloc(script_limit + 1, 1));
  if (script == nullptr) {
    if (log) log->Error("failed to allocate memory to store sieve rules");
    return;
  }
  if (use.install_callbacks(log != nullptr) != SIEVE2_OK) {
    if (log) log->Error("failed to install sieve callbacks");
    std::free(script);
    script = nullptr;
  }
  InitHeaderProcMap();
}

SieveMatchImpl::~SieveMatchImpl() {
  std::free(script);
  ClearCache();
}

bool SieveMatchImpl::Validate() {
  if (access(path.c_str(), F_OK) != 0) return false;
  if (!load_script(*this)) return false;
  if (log) log->Debug("rule file '%s' is loaded", path.c_str());
  if (is_good_script(*this)) return true;
  if (log) log->Error("rule file '%s' is invalid", path.c_str());
  return false;
}

SieveMatchResult SieveMatchImpl::Match(MimePart* part, unsigned long size, long time) {
  if (part == nullptr) {
    SieveMatchResult no_message;
    no_message.error = SieveMatchResult::INVALID_MESSAGE;
    return no_message;
  }
  message = part;
  message_size = size;
  received_time = time;
  result.error = SieveMatchResult::NONE;
  result.actions.clear();
  const int rc = use_interpreter(*this, &interpreter::Use::execute);
  if (rc != SIEVE2_OK && log) log->Debug("match failed, rc = %d", rc);
  ClearCache();
  return result;
}

int SieveMatchImpl::sieve_callback(sieve2_context* ctx, void* user) {
  if (ctx == nullptr || user == nullptr) return SIEVE2_ERROR_UNSUPPORTED;
  SieveMatchImpl& matcher = *static_cast<SieveMatchImpl*>(user);
  const sieve2_values_t code = interpreter::current_code();
  switch (code) {
    case SIEVE2_ACTION_REJECT:
    case SIEVE2_ACTION_DISCARD:
    case SIEVE2_ACTION_FILEINTO:
    case SIEVE2_ACTION_KEEP:
      return matcher.OnAction(ctx, code);
    case SIEVE2_ERRCALL_RUNTIME:
    case SIEVE2_ERRCALL_PARSE:
    case SIEVE2_ERRCALL_HEADER:
    case SIEVE2_ERRCALL_ADDRESS:
      return matcher.OnError(ctx, code);
    case SIEVE2_DEBUG_TRACE:
      return matcher.Trace(ctx);
    case SIEVE2_SCRIPT_GETSCRIPT:
      return matcher.GetScript(ctx);
    case SIEVE2_MESSAGE_GETHEADER:
      return matcher.GetHeader(ctx);
    case SIEVE2_MESSAGE_GETSIZE:
      return matcher.GetSize(ctx);
    case SIEVE2_MESSAGE_GETSUBADDRESS:
      return matcher.GetSubAddress(ctx);
    default:
      return SIEVE2_ERROR_UNSUPPORTED;
  }
}

int SieveMatchImpl::OnAction(sieve2_context* ctx, sieve2_values_t code) {
  SieveAction action;
  switch (code) {
    case SIEVE2_ACTION_REJECT: {
      action.type = SieveAction::REJECT;
      const char* text = interpreter::get_string(ctx, "message");
      if (text != nullptr) action.message = text;
      break;
    }
    case SIEVE2_ACTION_DISCARD:
      action.type = SieveAction::DISCARD;
      break;
    case SIEVE2_ACTION_FILEINTO: {
      action.type = SieveAction::FILEINTO;
      const char* folder = interpreter::get_string(ctx, "mailbox");
      if (folder == nullptr) return SIEVE2_ERROR_UNSUPPORTED;
      action.mailbox(folder);
      break;
    }
    case SIEVE2_ACTION_KEEP:
      action.type = SieveAction::KEEP;
      break;
    default:
      return SIEVE2_ERROR_UNSUPPORTED;
  }
  result.add_action(action);
  return SIEVE2_OK;
}

int SieveMatchImpl::OnError(sieve2_context* /*ctx*/, sieve2_values_t code) {
  switch (code) {
    case SIEVE2_ERRCALL_PARSE:
      result.error = SieveMatchResult::PARSE_SCRIPT;
      break;
    case SIEVE2_ERRCALL_HEADER:
      result.error = SieveMatchResult::PARSE_HEADER;
      break;
    case SIEVE2_ERRCALL_ADDRESS:
      result.error = SieveMatchResult::PARSE_ADDRESS;
      break;
    default:
      result.error = SieveMatchResult::UNKNOWN;
  }
  return SIEVE2_OK;
}

int SieveMatchImpl::Trace(sieve2_context* ctx) {
  const char* file = interpreter::get_string(ctx, "file");
  const char* function = interpreter::get_string(ctx, "function");
  const char* text = interpreter::get_string(ctx, "message");
  if (log) log->Debug("%s, %s: %s", file, function, text);
  return SIEVE2_OK;
}

}  // namespace Quarrow
