// Failures that no input brings about. The linker puts what is called __wrap_... below in place of
// what it wraps. These tests have one thread, which uses the first copy of libsieve.

#include <gtest/gtest.h>

#include <cerrno>
#include <cstddef>

#include "quarrow/evaluation.h"
#include "sieve_match/libsieve_copy.h"
#include "tests/support/evaluation_test_support.h"

namespace {
bool no_context = false;
bool no_callbacks = false;
bool no_script_buffer = false;
sieve2_values_t first_registered = SIEVE2_VALUE_FIRST;
}  // namespace

using Quarrow::interpreter::LibsieveCopy;

extern "C" {
extern const LibsieveCopy __real_quarrow_libsieve_0;
extern const LibsieveCopy __wrap_quarrow_libsieve_0;
void* __real_calloc(std::size_t count, std::size_t size);

void* __wrap_calloc(std::size_t count, std::size_t size) {
  return no_script_buffer && count == 32769 ? nullptr : __real_calloc(count, size);
}
}

namespace {

int alloc_or_fail(sieve2_context_t** context) {
  return no_context ? SIEVE2_ERROR_NOMEM : __real_quarrow_libsieve_0.alloc(context);
}

int callbacks_or_fail(sieve2_context_t* context, sieve2_callback_t* callbacks) {
  first_registered = callbacks->value;
  return no_callbacks ? SIEVE2_ERROR_UNSUPPORTED
                      : __real_quarrow_libsieve_0.callbacks(context, callbacks);
}

LibsieveCopy that_may_fail(LibsieveCopy libsieve) {
  libsieve.alloc = alloc_or_fail;
  libsieve.callbacks = callbacks_or_fail;
  return libsieve;
}

}  // namespace

const LibsieveCopy __wrap_quarrow_libsieve_0 = that_may_fail(__real_quarrow_libsieve_0);

namespace Quarrow {
namespace {

class SetUpFailure : public testing::Test {
 protected:
  ~SetUpFailure() override { no_context = no_callbacks = no_script_buffer = false; }

  // Creates no matcher of a good script, and says so with `error`.
  void expect_no_matcher(const std::string& error) {
    const TemporaryFolder folder;
    const std::string path = folder.write("script", "keep;");
    LogRecord record;
    EXPECT_EQ(nullptr, SieveMatch::Create(path, new RecordingLog(record)));
    const std::vector<std::string> want = {
        "SetComponent: SieveMatchImpl", "Error: " + error,
        "Error: failed to read rule file '" + path + "', errno = " + std::to_string(EFAULT)};
    EXPECT_EQ(want, record.lines);
    EXPECT_TRUE(record.deleted);
  }
};

TEST_F(SetUpFailure, WithoutAContext) {
  no_context = true;
  expect_no_matcher("failed to create sieve context");
}

TEST_F(SetUpFailure, WithoutAScriptBuffer) {
  no_script_buffer = true;
  expect_no_matcher("failed to allocate memory to store sieve rules");
}

TEST_F(SetUpFailure, WithoutCallbacks) {
  no_callbacks = true;
  expect_no_matcher("failed to install sieve callbacks");
}

TEST_F(SetUpFailure, HidesNoOtherFailure) {
  no_context = true;
  const TemporaryFolder folder;
  const struct {
    std::string path;
    std::vector<std::string> want;
  } cases[] = {
      {folder.write("empty", ""), {}},
      {folder.file("missing"), {}},
      {folder.path(),
       {"Error: failed to read rule file '" + folder.path() +
        "', errno = " + std::to_string(EISDIR)}},
  };
  for (const auto& c : cases) {
    LogRecord record;
    EXPECT_EQ(nullptr, SieveMatch::Create(c.path, new RecordingLog(record)));
    std::vector<std::string> want = {"SetComponent: SieveMatchImpl",
                                     "Error: failed to create sieve context"};
    want.insert(want.end(), c.want.begin(), c.want.end());
    EXPECT_EQ(want, record.lines) << c.path;
  }
}

TEST_F(SetUpFailure, ANullBufferMarksIt) {
  no_callbacks = true;
  SieveMatchImpl matcher("", nullptr);
  EXPECT_EQ(nullptr, matcher.script);
  EXPECT_EQ(nullptr, matcher.context);
  EXPECT_EQ(1U, matcher.header_procs.size());
}

TEST_F(SetUpFailure, WithoutAContextThereAreNoHeaderProcedures) {
  no_context = true;
  const SieveMatchImpl matcher("", nullptr);
  EXPECT_TRUE(matcher.header_procs.empty());
}

TEST_F(SetUpFailure, NoneIsLoggedWithoutALog) {
  no_context = true;
  EXPECT_EQ(nullptr, matcher_of("keep;"));
}

// Seen here because registering is: the trace doubles the time of a run.
TEST(SetUp, AsksForTheTraceOnlyWithALog) {
  LogRecord record;
  const auto logging = matcher_of("keep;", new RecordingLog(record));
  EXPECT_EQ(SIEVE2_DEBUG_TRACE, first_registered);
  const auto silent = matcher_of("keep;");
  EXPECT_EQ(SIEVE2_ERRCALL_PARSE, first_registered);
}

TEST_F(SetUpFailure, ARunThatGetsNoContextFails) {
  LogRecord record;
  const auto matcher = matcher_of("keep;", new RecordingLog(record));
  ASSERT_NE(nullptr, matcher);
  no_context = true;
  EXPECT_EQ("MatchResult []", text_of(outcome(*matcher, "Subject: x\n\n")));
  EXPECT_EQ(1U, record.count("Debug: match failed, rc = 7"));
  no_context = false;
  EXPECT_EQ("MatchResult [action=KEEP]", text_of(outcome(*matcher, "Subject: x\n\n")));
}

}  // namespace
}  // namespace Quarrow
