// Scripts and messages for unit tests of the evaluation.
#ifndef QUARROW_TESTS_SUPPORT_EVALUATION_TEST_SUPPORT_H_
#define QUARROW_TESTS_SUPPORT_EVALUATION_TEST_SUPPORT_H_

#include <quarrow/evaluation.h>
#include <zvellparser.h>

#include <memory>
#include <sstream>
#include <string>

#include "tests/support/recording_log_test_support.h"
#include "tests/support/temporary_folder_test_support.h"

// A script of ours: every one begins with these requirements.
inline std::string with_requirements(const std::string& commands) {
  return R"(require ["fileinto", "regex", "relational", "comparator-i;ascii-numeric"];)"
         "\n" +
         commands;
}

// A matcher of `script`; null when it is not accepted.
inline std::unique_ptr<Quarrow::SieveMatch> matcher_of(const std::string& script,
                                                       Quarrow::SieveLog* log = nullptr) {
  const TemporaryFolder folder;
  return std::unique_ptr<Quarrow::SieveMatch>(
      Quarrow::SieveMatch::Create(folder.write("script", script), log));
}

// The outcome of running `matcher` over a message, given as its header lines or as a whole.
inline Quarrow::SieveMatchResult outcome(Quarrow::SieveMatch& matcher, const std::string& message,
                                         long time = 0) {
  const std::unique_ptr<MimePart> part = MimePart::parse(message.data(), message.size());
  return matcher.Match(part.get(), message.size(), time);
}

// A result as a log line shows it.
inline std::string text_of(const Quarrow::SieveMatchResult& result) {
  std::ostringstream text;
  text << result;
  return text.str();
}

// The text form of running `script` over `message` with a matcher of its own.
inline std::string result_of(const std::string& script, const std::string& message, long time = 0) {
  const auto matcher = matcher_of(script);
  return matcher ? text_of(outcome(*matcher, message, time)) : "no matcher";
}

#endif  // QUARROW_TESTS_SUPPORT_EVALUATION_TEST_SUPPORT_H_
