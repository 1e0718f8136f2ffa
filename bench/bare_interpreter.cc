#include "bench/bare_interpreter.h"

#include <cstddef>

#include <sieve2.h>  // needs NULL from the line above

#include <strings.h>

namespace {

struct Run {
  const std::string& script;
  BareMessage& message;
  int actions;
};

int count_action(sieve2_context_t* /*context*/, void* user) {
  ++static_cast<Run*>(user)->actions;
  return SIEVE2_OK;
}

int ignore(sieve2_context_t* /*context*/, void* /*user*/) { return SIEVE2_OK; }

int give_script(sieve2_context_t* context, void* user) {
  static char name[] = "script";
  return sieve2_setvalue_string(context, name,
                                const_cast<char*>(static_cast<Run*>(user)->script.c_str()));
}

int give_size(sieve2_context_t* context, void* user) {
  static char name[] = "size";
  return sieve2_setvalue_int(context, name, static_cast<Run*>(user)->message.size);
}

int give_header(sieve2_context_t* context, void* user) {
  static char header[] = "header";
  static char body[] = "body";
  const char* wanted = sieve2_getvalue_string(context, header);
  for (BareMessage::Header& each : static_cast<Run*>(user)->message.headers)
    if (strcasecmp(each.name.c_str(), wanted) == 0)
      return sieve2_setvalue_stringlist(context, body, each.list);
  return SIEVE2_OK;
}

sieve2_callback_t callbacks[] = {
    {SIEVE2_ERRCALL_PARSE, ignore},         {SIEVE2_ERRCALL_RUNTIME, ignore},
    {SIEVE2_ERRCALL_ADDRESS, ignore},       {SIEVE2_ERRCALL_HEADER, ignore},
    {SIEVE2_ACTION_FILEINTO, count_action}, {SIEVE2_ACTION_DISCARD, count_action},
    {SIEVE2_ACTION_REJECT, count_action},   {SIEVE2_ACTION_KEEP, count_action},
    {SIEVE2_SCRIPT_GETSCRIPT, give_script}, {SIEVE2_MESSAGE_GETHEADER, give_header},
    {SIEVE2_MESSAGE_GETSIZE, give_size},    {SIEVE2_VALUE_FIRST, nullptr}};

}  // namespace

int bare_match(const std::string& script, BareMessage& message) {
  Run run{script, message, 0};
  sieve2_context_t* context = nullptr;
  if (sieve2_alloc(&context) != SIEVE2_OK) return -1;
  sieve2_callbacks(context, callbacks);
  sieve2_execute(context, &run);
  sieve2_free(&context);
  return run.actions;
}
