// Each kind of source can be evaluated with the libraries that were loaded ahead.
#include "trial/preparation.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "system/process_end.h"
#include "tests/support/temporary_folder_test_support.h"
#include "trial/message_evaluator.h"

namespace Quarrow::Trial {
namespace {

const char* const decoding_script =
    "require \"fileinto\"; if header :is \"subject\" \"\xd0\xbf\xd1\x80\" { fileinto \"Box\"; }\n";
const char* const plain_message = "Subject: plain\n\nText\n";
const char* const encoded_message = "Subject: =?koi8-r?q?=D0=D2?=\n\nText\n";

// Whether the script files the last message in `source` in a process that was prepared for `ahead`.
// The process is a child, so that this one stays unprepared.
bool is_filed(const std::string& script, const MailSource& source,
              const std::vector<MailSource>& ahead) {
  const pid_t child = fork();
  if (child == 0) {
    prepare_for(ahead);
    const auto evaluator = isolated_evaluator(script);
    MailContents contents;
    if (!evaluator || contents.open(source)) _exit(2);
    const auto evaluation = evaluator->evaluate(messages_of(source, contents).back(), 0);
    _exit(evaluation.result.actions.empty() ? 1 : 0);
  }
  const ProcessEnd end = wait_for(child);
  EXPECT_TRUE(end.signal == 0 && end.status < 2) << end.signal << ' ' << end.status;
  return end.signal == 0 && end.status == 0;
}

TEST(PrepareFor, LoadsWhatTheOnlyMessageNeedsAndNoMore) {
  const TemporaryFolder folder;
  const std::string script = folder.write("script", decoding_script);
  const MailSource encoded = {folder.write("a", encoded_message)};
  const MailSource plain = {folder.write("b", plain_message)};
  EXPECT_TRUE(is_filed(script, encoded, {encoded}));
  EXPECT_FALSE(is_filed(script, encoded, {plain}));
}

TEST(PrepareFor, LoadsWhatAnyOfSeveralMessagesNeeds) {
  const TemporaryFolder folder;
  const std::string script = folder.write("script", decoding_script);
  const MailSource encoded = {folder.write("a", encoded_message)};
  const MailSource plain = {folder.write("b", plain_message)};
  EXPECT_TRUE(is_filed(script, encoded, {plain, encoded}));
}

TEST(PrepareFor, LoadsWhatALaterMessageOfAnMboxNeeds) {
  const TemporaryFolder folder;
  const std::string script = folder.write("script", decoding_script);
  const std::string separator = "From a@example.org Mon May  4 09:30:00 2026\n";
  const MailSource mbox = {
      folder.write("mbox", separator + plain_message + '\n' + separator + encoded_message)};
  EXPECT_TRUE(is_filed(script, mbox, {mbox}));
}

TEST(PrepareFor, LeavesASourceThatCantBeReadToTheRun) {
  const TemporaryFolder folder;
  const std::string script = folder.write("script", decoding_script);
  const MailSource encoded = {folder.write("a", encoded_message)};
  EXPECT_TRUE(is_filed(script, encoded, {{folder.file("none")}}));
  EXPECT_TRUE(is_filed(script, encoded, {{folder.path()}}));
}

}  // namespace
}  // namespace Quarrow::Trial
