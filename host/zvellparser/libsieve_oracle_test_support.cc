// Runs libsieve on one header after the other, in children that may die of it.
#include "host/zvellparser/libsieve_oracle_test_support.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstddef>

#include <sieve2.h>  // needs <cstddef> before it

namespace zvellparser {
namespace {

using Verdicts = std::vector<LibsieveVerdict>;

struct Question {
  std::string script;
  std::string header;
  LibsieveVerdict verdict;
};

// libsieve takes names and values as char*, and writes to neither.
char* unconst(const char* text) { return const_cast<char*>(text); }

Question& question(void* user_data) { return *static_cast<Question*>(user_data); }

int give_script(sieve2_context_t* context, void* user_data) {
  const char* const script = question(user_data).script.c_str();
  return sieve2_setvalue_string(context, unconst("script"), unconst(script));
}

int give_header(sieve2_context_t* context, void* user_data) {
  static char* values[2];
  values[0] = unconst(question(user_data).header.c_str());
  return sieve2_setvalue_stringlist(context, unconst("body"), values);
}

int note_error(sieve2_context_t*, void* user_data) {
  question(user_data).verdict = LibsieveVerdict::refused;
  return 0;
}

// libsieve matches the text before an unexpected ")" after it has refused the header.
int note_match(sieve2_context_t*, void* user_data) {
  LibsieveVerdict& verdict = question(user_data).verdict;
  if (verdict == LibsieveVerdict::read) verdict = LibsieveVerdict::matched;
  return 0;
}

int do_nothing(sieve2_context_t*, void*) { return 0; }

sieve2_callback_t callbacks[] = {
    {SIEVE2_ACTION_FILEINTO, note_match},    {SIEVE2_ACTION_KEEP, do_nothing},
    {SIEVE2_ACTION_REDIRECT, do_nothing},    {SIEVE2_SCRIPT_GETSCRIPT, give_script},
    {SIEVE2_MESSAGE_GETHEADER, give_header}, {SIEVE2_MESSAGE_GETSIZE, do_nothing},
    {SIEVE2_ERRCALL_ADDRESS, note_error},    {SIEVE2_VALUE_FIRST, nullptr}};

// A context is not used twice: an unterminated quote would reach into the next text.
LibsieveVerdict ask(const std::string& text, const std::string& script) {
  Question question{script, text, LibsieveVerdict::read};
  sieve2_context_t* context = nullptr;
  const bool done = sieve2_alloc(&context) == SIEVE2_OK &&
                    sieve2_callbacks(context, callbacks) == SIEVE2_OK &&
                    sieve2_execute(context, &question) == SIEVE2_OK;
  sieve2_free(&context);
  return done ? question.verdict : LibsieveVerdict::unknown;
}

// Appends the verdicts on the texts that have none yet, up to the end or a crash.
void ask_in_child(const std::vector<std::string>& texts, const std::string& script,
                  Verdicts& verdicts) {
  int ends[2];
  if (pipe(ends) != 0) return;
  const pid_t child = fork();
  if (child == 0) {
    dup2(open("/dev/null", O_WRONLY), STDERR_FILENO);  // a crash is expected, and needs no report
    for (std::size_t i = verdicts.size(); i < texts.size(); ++i) {
      const LibsieveVerdict verdict = ask(texts[i], script);
      if (write(ends[1], &verdict, 1) != 1) break;
    }
    _exit(0);
  }
  close(ends[1]);
  LibsieveVerdict verdict;
  while (read(ends[0], &verdict, 1) == 1) verdicts.push_back(verdict);
  close(ends[0]);
  if (child > 0) waitpid(child, nullptr, 0);
}

}  // namespace

Verdicts libsieve_verdicts(const std::vector<std::string>& texts, const std::string& key) {
  const std::string script =
      "require [\"fileinto\"]; if address :all :is \"from\" \"" + key + "\" { fileinto \"A\"; }";
  Verdicts verdicts;
  while (verdicts.size() < texts.size()) {
    ask_in_child(texts, script, verdicts);
    if (verdicts.size() < texts.size()) verdicts.push_back(LibsieveVerdict::unknown);
  }
  return verdicts;
}

}  // namespace zvellparser
