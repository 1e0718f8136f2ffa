// Evaluations, and helpers that die, hang, grow or are dismissed.
#include "quarrow/delivery/evaluator.h"

#include <gtest/gtest.h>
#include <quarrow/filter_list.h>
#include <sched.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/wait.h>

#include <fstream>
#include <iterator>
#include <thread>
#include <vector>

#include "delivery/evaluator_test_support.h"
#include "delivery/helper_process.h"
#include "delivery/one_processor.h"
#include "quarrow/delivery/delivery_plan.h"
#include "system/child_process_test_support.h"
#include "system/refused_calls_test_support.h"
#include "tests/support/rules_test_support.h"

namespace Quarrow::Delivery {
namespace {

using Outcome = Evaluation::Outcome;
using std::chrono::milliseconds;

const char* const ordinary_script =
    "require [\"fileinto\"]; if header :contains \"subject\" \"offer\" { fileinto \"Offers\"; }";
const char* const ordinary_message = "Subject: an offer\n\nbody\n";
const char* const ordinary_result = "MatchResult [action=FILEINTO:Offers]";

// Backtracks for ages: each star tries every place behind the place of the star before it.
const char* const endless_script =
    "require [\"fileinto\"]; if header :matches \"subject\" "
    "\"*a*a*a*a*a*a*a*a*a*a*a*a*a*b\" { fileinto \"A\"; }";
const std::string endless_message = "Subject: " + std::string(2000, 'a') + "\n\n";

class EvaluatorTest : public EvaluationTest {};

// Of a helper that serves many messages, and is forked from this process.
EvaluatorLimits lasting() {
  EvaluatorLimits limits;
  limits.messages = 100000;
  limits.made_ahead = false;
  return limits;
}

bool is_running(pid_t process) { return kill(process, 0) == 0; }

// Stops `process` from running any further; it is still there for its parent to wait for.
void kill_now(pid_t process) {
  ASSERT_GT(process, 0);
  ASSERT_EQ(0, kill(process, SIGKILL));
  siginfo_t ended = {};
  ASSERT_EQ(0, waitid(P_PID, static_cast<id_t>(process), &ended, WEXITED | WNOWAIT));
}

std::ptrdiff_t descriptors_of(pid_t process) {
  const std::filesystem::directory_iterator first("/proc/" + std::to_string(process) + "/fd");
  return std::distance(first, {});
}

// The state of a process as proc(5) has it: 'R' while it runs, 'S' while it waits.
char state_of(pid_t process) {
  std::string stat;
  std::getline(std::ifstream("/proc/" + std::to_string(process) + "/stat"), stat);
  const std::size_t name_end = stat.rfind(") ");
  return name_end == std::string::npos ? '?' : stat[name_end + 2];
}

// Kills a helper, which waits, after it has got a message.
void kill_with_message(pid_t helper) {
  while (state_of(helper) != 'R') std::this_thread::yield();
  (void)kill(helper, SIGKILL);
}

const char* const tried_scripts[] = {
    ordinary_script,
    "keep;",
    "discard;",
    "require \"reject\"; reject \"not here\";",
    "require [\"fileinto\"]; fileinto \"A\"; fileinto \"INBOX/b\"; keep;",
    "require [\"fileinto\"]; if size :over 1K { fileinto \"Big\"; }",
    "if address :all :is \"from\" \"a@example.org\" { discard; }",
    "if header :is \"zvx-received-date\" \"20100512\" { discard; }",
    "if address :all :contains \"x-from\" \"zz\" { discard; }"};

const std::string messages[] = {
    ordinary_message,
    "",
    "\n\n",
    "From: a@example.org\r\nSubject: x\r\n\r\nSubject: offer\r\n",
    "From: A <a@example.org>\nSubject: an\n offer\n\n" + std::string(5000, 'x'),
    "X-From: a@b@c\nSubject: =?utf-8?b?b2ZmZXI=?=\n\n",
    "X-Long: " + std::string(70000, 'y') + "\nSubject: offer\n\n",
    "Subject: " + std::string("of\0fer", 6) + "\n\n",
    "no header at all"};

class EvaluatorOfEitherKind : public EvaluatorTest, public testing::WithParamInterface<bool> {};

TEST_P(EvaluatorOfEitherKind, GivesWhatMatchGives) {
  Evaluator evaluator(GetParam() ? EvaluatorLimits() : lasting());
  for (const std::string script : tried_scripts) {
    for (const std::string& message : messages) {
      const Evaluation got = evaluate(evaluator, script, message);
      EXPECT_EQ(Outcome::done, got.outcome) << got.reason;
      EXPECT_EQ(result_of(script, message), text_of(got.result)) << script << '\n' << message;
      EXPECT_EQ("", got.rule);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(MadeAheadOrForked, EvaluatorOfEitherKind, testing::Bool());

TEST_F(EvaluatorTest, NamesTheHeaderWhoseAddressesCantBeRead) {
  Evaluator evaluator;
  const Evaluation got =
      evaluate(evaluator, "if address :all :is [\"from\", \"subject\"] \"a\" { discard; }",
               "From: a@b@c\nSubject: two charset_words\n\n");
  EXPECT_EQ("MatchResult [error=PARSE_ADDRESS]", text_of(got.result));
  EXPECT_EQ("subject", got.reason);
  EXPECT_EQ("evaluation: an address could not be read: subject", plan_for(got).note);
  EXPECT_EQ("", evaluate(evaluator, ordinary_script, ordinary_message).reason);
}

TEST_F(EvaluatorTest, GivesARejectionsText) {
  Evaluator evaluator;
  const Evaluation got = evaluate(evaluator, "require \"reject\"; reject \"not here\";", "\n");
  ASSERT_EQ(1U, got.result.actions.size());
  EXPECT_EQ("not here", got.result.actions[0].message);
}

TEST_F(EvaluatorTest, GivesTheTimeToTheScript) {
  Evaluator evaluator;
  set_script("if header :is \"zvx-received-date\" \"20100512\" { discard; }");
  EXPECT_EQ(1U, evaluate(evaluator, "\n", 1273665600).result.actions.size());
  EXPECT_EQ(0U, evaluate(evaluator, "\n", 1283665600).result.actions.size());
}

TEST_F(EvaluatorTest, GivesTheSizeToTheScriptWhateverIsInTheFile) {
  Evaluator evaluator;
  set_script("if size :over 1K { discard; }");
  const Descriptor file(open(folder_.write("message", "\n").c_str(), O_RDONLY | O_CLOEXEC));
  EXPECT_EQ(1U, evaluator.evaluate(file.get(), 5000, 0, script_path()).result.actions.size());
}

TEST_F(EvaluatorTest, NamesTheFilterThatDecided) {
  using namespace MessageFilters;
  const auto list = FilterList__::Create();
  list->append(make_rule("First", make_test("string", "subject", "begin_with", "[one]")));
  list->append(make_rule("Second \xc3\xa4", make_test("string", "subject", "end_with", "two")));
  ASSERT_TRUE(list->SaveToSieve(script_path(), false));
  Evaluator evaluator;
  EXPECT_EQ("First", evaluate(evaluator, "Subject: [One] two\n\n").rule);
  const Evaluation second = evaluate(evaluator, "Subject: [three] TWO\n\n");
  EXPECT_EQ("Second \xc3\xa4", second.rule);
  EXPECT_EQ("MatchResult [action=FILEINTO:Trash]", text_of(second.result));
  EXPECT_EQ("", evaluate(evaluator, "Subject: other\n\n").rule);
}

const char* const charset_words[] = {
    "=?koi8-r?q?=D0=D2?=",      "=?windows-1251?q?=EF=F0?=",
    "=?iso-8859-2?q?=B1=E6?=",  "=?iso-2022-jp?b?GyRCRnxLXBsoQg==?=",
    "=?shift_jis?b?k/qWew==?=", "=?gb18030?b?xOO6ww==?=",
    "=?big5?b?p0GmbQ==?=",      "=?euc-kr?b?vsiz5w==?=",
    "=?iso-8859-15?q?=A4?=",    "=?windows-1252?q?=80?=",
    "=?no-such?q?=E4?=",        "raw \xe4\xf6"};

// A helper can't load the data of a charset: they have to be there before.
TEST_F(EvaluatorTest, DecodesCharsetsAsMatchDoes) {
  Evaluator evaluator;
  for (const char* const word : charset_words) {
    const Buffer decoded = stringToUtf8(word, nullptr);
    const std::string script = "require [\"fileinto\"]; if header :is \"subject\" \"" +
                               std::string(decoded.data(), decoded.size()) +
                               "\" { fileinto \"Same\"; }";
    const Evaluation got = evaluate(evaluator, script, std::string("Subject: ") + word + "\n\n");
    EXPECT_EQ("MatchResult [action=FILEINTO:Same]", text_of(got.result)) << word << got.reason;
  }
}

const struct {
  std::string subject;
  std::string word;
} subjects[] = {{"an offer", "offer"},
                {"=?utf-8?q?caf=C3=A9?=", "caf\xc3\xa9"},
                {"=?koi8-r?q?=D0=D2?=", "\xd0\xbf\xd1\x80"},
                {"=?Windows-1251*ru?q?=EF=F0?=", "\xd0\xbf\xd1\x80"},
                {"=?iso-8859-7?q?=E1?= =?x-none?q?=E1?= =?iso-8859-5?q?=DF?=", "\xd0\xbf"},
                {"=?iso-8859-1?q?J=E4?= <a>, =?iso-8859-1?q?J=E4?= <a>, =?iso-8859-1?q?J=E4?= <a>, "
                 "=?gb2312?B?xOO6ww==?=",
                 "\xe4\xbd\xa0\xe5\xa5\xbd"},
                {"=?utf-8?b?w6Q=?= =?koi8-r?b?0NI=?=", "\xc3\xa4\xd0\xbf\xd1\x80"},
                {std::string("=\0?koi8-r?q?=D0=D2?=", 20), "\xd0\xbf\xd1\x80"},
                {"raw \xe4 =?koi8-r?q?=D0=D2?=", "raw \xc3\xa4 \xd0\xbf\xd1\x80"},
                {"raw \xe4", "raw \xc3\xa4"},
                {"raw \xc3\xa4 \x81", "raw \xc3\xa4 ?"}};

// A process that is made for one message loads only the charsets of that message. Each message has
// a process of its own here, since another message or test may have loaded more.
TEST_F(EvaluatorTest, IsPreparedForTheOneMessageOfItsProcess) {
  for (const auto& c : subjects) {
    const std::string message = "Subject: " + c.subject + "\n\n=?big5?q?not a header?= \xff\n";
    const std::string script = "require [\"fileinto\"]; if header :contains \"subject\" \"" +
                               c.word + "\" { fileinto \"Same\"; }";
    const pid_t child = fork();
    if (child == 0) {
      prepare_for_message(message);
      Evaluator evaluator;
      const std::string got = text_of(evaluate(evaluator, script, message).result);
      _exit(got == "MatchResult [action=FILEINTO:Same]" ? 0 : 1);
    }
    int status = -1;
    EXPECT_EQ(child, waitpid(child, &status, 0));
    EXPECT_EQ(0, status) << c.subject;
  }
}

std::vector<int> processors_of(pid_t process) {
  cpu_set_t allowed;
  std::vector<int> numbers;
  if (sched_getaffinity(process, sizeof allowed, &allowed) != 0) return numbers;
  for (int number = 0; number < CPU_SETSIZE; ++number)
    if (CPU_ISSET(number, &allowed)) numbers.push_back(number);
  return numbers;
}

TEST_F(EvaluatorTest, AHelperSharesTheProcessorOfAProcessThatStaysOnOne) {
  const pid_t child = fork();
  if (child == 0) {
    stay_on_one_processor();
    const Evaluator evaluator;
    const auto processors = processors_of(0);
    _exit(processors.size() == 1 && processors_of(evaluator.helper()) == processors ? 0 : 1);
  }
  int status = -1;
  EXPECT_EQ(child, waitpid(child, &status, 0));
  EXPECT_EQ(0, status);
}

TEST_F(EvaluatorTest, AMissingScriptIsNoScript) {
  Evaluator evaluator;
  const Evaluation got = evaluate(evaluator, ordinary_message);
  EXPECT_EQ(Outcome::no_script, got.outcome);
  EXPECT_NE("", got.reason);
}

TEST_F(EvaluatorTest, AScriptThatDoesNotCompileIsABadOne) {
  Evaluator evaluator;
  for (const char* const script : {"", "if", "fileinto \"A\"; nonsense", "setflag \"a\";"})
    EXPECT_EQ(Outcome::bad_script, evaluate(evaluator, script, ordinary_message).outcome) << script;
}

TEST_F(EvaluatorTest, AScriptThatIsNoFileOfItsOwnIsABadOne) {
  Evaluator evaluator;
  const std::string other = folder_.write("other", ordinary_script);
  std::filesystem::create_symlink(other, script_path());
  const Evaluation link = evaluate(evaluator, ordinary_message);
  EXPECT_EQ(Outcome::bad_script, link.outcome);
  EXPECT_EQ("can't be read: Is a symbolic link", link.reason);
  std::filesystem::remove(script_path());
  ASSERT_EQ(0, mkfifo(script_path().c_str(), 0600));
  EXPECT_EQ(Outcome::bad_script, evaluate(evaluator, ordinary_message).outcome);
}

TEST_F(EvaluatorTest, AChangedScriptCountsAtOnce) {
  Evaluator evaluator;
  EXPECT_EQ(ordinary_result,
            text_of(evaluate(evaluator, ordinary_script, ordinary_message).result));
  EXPECT_EQ("MatchResult [action=DISCARD]",
            text_of(evaluate(evaluator, "discard;", ordinary_message).result));
  EXPECT_EQ(Outcome::bad_script, evaluate(evaluator, "if", ordinary_message).outcome);
  EXPECT_EQ(ordinary_result,
            text_of(evaluate(evaluator, ordinary_script, ordinary_message).result));
}

TEST_F(EvaluatorTest, ServesMoreScriptsThanStayCompiled) {
  EvaluatorLimits limits;
  limits.cached_scripts = 2;
  Evaluator evaluator(limits);
  for (int i = 0; i < 12; ++i) {
    const std::string folder = "F" + std::to_string(i % 4);
    const std::string script = "require [\"fileinto\"]; fileinto \"" + folder + "\";";
    EXPECT_EQ("MatchResult [action=FILEINTO:" + folder + "]",
              text_of(evaluate(evaluator, script, ordinary_message).result));
  }
}

TEST_F(EvaluatorTest, AHelperThatDiedBeforeTheMessageIsReplaced) {
  Evaluator evaluator(lasting());
  set_script(ordinary_script);
  for (int i = 0; i < 5; ++i) {
    kill_now(evaluator.helper());
    const Evaluation got = evaluate(evaluator, ordinary_message);
    EXPECT_EQ(Outcome::done, got.outcome) << got.reason;
    EXPECT_EQ(ordinary_result, text_of(got.result));
  }
}

TEST_F(EvaluatorTest, AHelperThatWasDismissedIsReplacedForAMessageThatComesAllTheSame) {
  Evaluator evaluator(lasting());
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(ordinary_result,
              text_of(evaluate(evaluator, ordinary_script, ordinary_message).result));
    const pid_t helper = evaluator.helper();
    evaluator.dismiss();
    siginfo_t ended = {};
    EXPECT_EQ(0, waitid(P_PID, static_cast<id_t>(helper), &ended, WEXITED | WNOWAIT));
  }
}

TEST_F(EvaluatorTest, AHelperThatDiesDuringAMessageFailsThatOneOnly) {
  Evaluator evaluator(lasting());
  for (int i = 0; i < 5; ++i) {
    ASSERT_EQ(ordinary_result,
              text_of(evaluate(evaluator, ordinary_script, ordinary_message).result));
    const pid_t helper = evaluator.helper();
    while (state_of(helper) != 'S') std::this_thread::yield();
    std::thread killer(kill_with_message, helper);
    const Evaluation failed = evaluate(evaluator, endless_script, endless_message);
    killer.join();
    EXPECT_EQ(Outcome::failed, failed.outcome);
    EXPECT_EQ("the evaluation was ended by signal 9", failed.reason);
    EXPECT_NE(helper, evaluator.helper());
  }
  EXPECT_EQ(ordinary_result,
            text_of(evaluate(evaluator, ordinary_script, ordinary_message).result));
}

TEST_F(EvaluatorTest, AHelperThatHangsIsKilledAndReplaced) {
  EvaluatorLimits limits;
  limits.time = milliseconds(200);
  Evaluator evaluator(limits);
  const pid_t helper = evaluator.helper();
  const Evaluation failed = evaluate(evaluator, endless_script, endless_message);
  EXPECT_EQ(Outcome::failed, failed.outcome);
  EXPECT_EQ("the evaluation took more than 200 ms", failed.reason);
  EXPECT_FALSE(is_running(helper));
  EXPECT_EQ(ordinary_result,
            text_of(evaluate(evaluator, ordinary_script, ordinary_message).result));
}

extern "C" void do_nothing(int) {}

TEST_F(EvaluatorTest, SignalsDoNotProlongTheWaitForAHelperThatHangs) {
  struct sigaction action = {};
  action.sa_handler = do_nothing;
  struct sigaction before = {};
  ASSERT_EQ(0, sigaction(SIGALRM, &action, &before));
  const itimerval often = {{0, 5000}, {0, 5000}};
  ASSERT_EQ(0, setitimer(ITIMER_REAL, &often, nullptr));
  EvaluatorLimits limits;
  limits.time = milliseconds(200);
  Evaluator evaluator(limits);
  EXPECT_EQ("the evaluation took more than 200 ms",
            evaluate(evaluator, endless_script, endless_message).reason);
  const itimerval never = {};
  EXPECT_EQ(0, setitimer(ITIMER_REAL, &never, nullptr));
  EXPECT_EQ(0, sigaction(SIGALRM, &before, nullptr));
}

TEST_F(EvaluatorTest, SignalsDoNotEndTheWaitForAHelperThatAnswers) {
  struct sigaction action = {};
  action.sa_handler = do_nothing;
  struct sigaction before = {};
  ASSERT_EQ(0, sigaction(SIGALRM, &action, &before));
  const itimerval often = {{0, 1000}, {0, 1000}};
  ASSERT_EQ(0, setitimer(ITIMER_REAL, &often, nullptr));
  Evaluator evaluator;
  const std::string filler(std::size_t{1} << 20, 'a');  // it takes longer than a signal to come
  EXPECT_EQ(
      ordinary_result,
      text_of(
          evaluate(evaluator, ordinary_script, "X: " + filler + "\nSubject: offer\n\n").result));
  const itimerval never = {};
  EXPECT_EQ(0, setitimer(ITIMER_REAL, &never, nullptr));
  EXPECT_EQ(0, sigaction(SIGALRM, &before, nullptr));
}

TEST_F(EvaluatorTest, AHelperThatTakesNoMessageIsKilledAndReplaced) {
  EvaluatorLimits limits = lasting();
  limits.time = milliseconds(200);
  Evaluator evaluator(limits);
  const pid_t helper = evaluator.helper();
  ASSERT_EQ(0, kill(helper, SIGSTOP));
  const std::string long_message = "Subject: " + std::string(std::size_t{4} << 20, 'a') + "\n\n";
  EXPECT_EQ("the evaluation took more than 200 ms",
            evaluate(evaluator, ordinary_script, long_message).reason);
  EXPECT_FALSE(is_running(helper));
  EXPECT_EQ(ordinary_result, text_of(evaluate(evaluator, ordinary_message).result));
}

TEST_F(EvaluatorTest, SaysSoWhereNoHelperCanBeMade) {
  set_script(ordinary_script);
  for (const EvaluatorLimits& limits : {EvaluatorLimits(), lasting()}) {
    for (const int call : {SYS_socketpair, SYS_setsockopt}) {
      const auto evaluating = [&] {
        if (!refuse_call(call, EMFILE)) return 2;
        Evaluator evaluator(limits);
        const Evaluation failed = evaluate(evaluator, ordinary_message);
        return failed.outcome == Outcome::failed && !failed.reason.empty() ? 0 : 1;
      };
      EXPECT_EQ(0, end_of_child(evaluating).status) << call;
    }
  }
}

TEST_F(EvaluatorTest, AMessageThatTakesTooMuchMemoryFailsAlone) {
  EvaluatorLimits limits;
  limits.memory = std::uint64_t{8} << 20;
  Evaluator evaluator(limits);
  set_script(ordinary_script);
  const std::string message = "Subject: " + std::string(std::size_t{64} << 20, 'a');
  EXPECT_EQ(Outcome::failed, evaluate(evaluator, message).outcome);
  EXPECT_EQ(ordinary_result, text_of(evaluate(evaluator, ordinary_message).result));
}

TEST_F(EvaluatorTest, RulesSeeNoMoreThanSixteenMebibytesOfAHeader) {
  Evaluator evaluator;
  set_script(ordinary_script);
  const std::string line = "X-Filler: " + std::string(1013, 'x') + '\n';
  std::string filler;
  while (filler.size() < (std::size_t{16} << 20) - 2 * line.size()) filler += line;
  EXPECT_EQ(ordinary_result, text_of(evaluate(evaluator, filler + "Subject: an offer\n\n").result));
  const Evaluation beyond = evaluate(evaluator, filler + line + line + "Subject: an offer\n\n");
  EXPECT_EQ(Outcome::done, beyond.outcome) << beyond.reason;
  EXPECT_EQ("MatchResult []", text_of(beyond.result));
}

TEST_F(EvaluatorTest, AMessageThatCantBeReadFails) {
  Evaluator evaluator;
  set_script(ordinary_script);
  const Descriptor folder(open(folder_.path().c_str(), O_RDONLY | O_CLOEXEC));
  EXPECT_EQ(Outcome::failed, evaluator.evaluate(folder.get(), 10, 0, script_path()).outcome);
  EXPECT_EQ(Outcome::failed, evaluator.evaluate(-1, 10, 0, script_path()).outcome);
  EXPECT_EQ(ordinary_result, text_of(evaluate(evaluator, ordinary_message).result));
}

TEST_F(EvaluatorTest, AHelperServesAsManyMessagesAsItMay) {
  EvaluatorLimits limits = lasting();
  limits.messages = 3;
  Evaluator evaluator(limits);
  set_script(ordinary_script);
  const pid_t first = evaluator.helper();
  for (int i = 0; i < 2; ++i) evaluate(evaluator, ordinary_message);
  EXPECT_EQ(first, evaluator.helper());
  EXPECT_EQ(ordinary_result, text_of(evaluate(evaluator, ordinary_message).result));
  EXPECT_NE(first, evaluator.helper());
  EXPECT_EQ(ordinary_result, text_of(evaluate(evaluator, ordinary_message).result));
}

TEST_F(EvaluatorTest, AHelperThatHasGrownIsReplacedAfterTheMessage) {
  EvaluatorLimits limits = lasting();
  limits.growth = 1;
  Evaluator evaluator(limits);
  const pid_t first = evaluator.helper();
  EXPECT_EQ(ordinary_result,
            text_of(evaluate(evaluator, ordinary_script, ordinary_message).result));
  EXPECT_NE(first, evaluator.helper());
}

// Waits until `process`, a child, has ended; it is still there for others to wait for.
bool has_ended(pid_t process) {
  siginfo_t ended = {};
  return waitid(P_PID, static_cast<id_t>(process), &ended, WEXITED | WNOWAIT) == 0;
}

TEST_F(EvaluatorTest, AHelperThatIsMadeAheadEndsWithItsLastMessage) {
  EvaluatorLimits limits;
  limits.messages = 1;
  Evaluator evaluator(limits);
  const pid_t helper = evaluator.helper();
  ASSERT_TRUE(is_running(helper));
  EXPECT_EQ(ordinary_result,
            text_of(evaluate(evaluator, ordinary_script, ordinary_message).result));
  EXPECT_TRUE(has_ended(helper));
  EXPECT_EQ(-1, evaluator.helper());
  EXPECT_EQ(ordinary_result, text_of(evaluate(evaluator, ordinary_message).result));
  EXPECT_FALSE(is_running(helper));
}

std::vector<pid_t> children() {
  std::ifstream list("/proc/self/task/" + std::to_string(getpid()) + "/children");
  return {std::istream_iterator<pid_t>(list), {}};
}

pid_t child_named(const std::string& name) {
  for (const pid_t child : children()) {
    std::string found;
    std::getline(std::ifstream("/proc/" + std::to_string(child) + "/comm"), found);
    if (found == name) return child;
  }
  return -1;
}

TEST_F(EvaluatorTest, AMakerOfHelpersThatDiedIsReplaced) {
  Evaluator evaluator;
  set_script(ordinary_script);
  for (int i = 0; i < 3; ++i) {
    kill_now(child_named("quarrow-maker"));
    EXPECT_EQ(ordinary_result, text_of(evaluate(evaluator, ordinary_message).result));
    EXPECT_EQ(ordinary_result, text_of(evaluate(evaluator, ordinary_message).result));
  }
}

TEST_F(EvaluatorTest, NoProcessIsLeftWhenTheEvaluatorIsGone) {
  {
    Evaluator evaluator;
    EXPECT_EQ(Outcome::done, evaluate(evaluator, ordinary_script, ordinary_message).outcome);
  }
  EXPECT_EQ(std::vector<pid_t>(), children());
}

std::string maps_of(pid_t process) {
  std::ifstream maps("/proc/" + std::to_string(process) + "/maps");
  return {std::istreambuf_iterator<char>(maps), {}};
}

TEST_F(EvaluatorTest, AHelperHasNoMemoryThatOthersMayWrite) {
  constexpr std::size_t size = 4096;
  void* const shared =
      mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(MAP_FAILED, shared);
  ASSERT_NE(std::string::npos, maps_of(getpid()).find(" rw-s "));
  for (const EvaluatorLimits& limits : {EvaluatorLimits(), lasting()}) {
    Evaluator evaluator(limits);
    set_script(ordinary_script);
    (void)evaluate(evaluator, ordinary_message);  // a helper is there now, and has set itself up
    const pid_t process = limits.made_ahead ? child_named("quarrow-maker") : evaluator.helper();
    const std::string maps = maps_of(process);
    EXPECT_NE("", maps);
    EXPECT_EQ(std::string::npos, maps.find(" rw-s ")) << maps;
  }
  EXPECT_EQ(0, munmap(shared, size));
}

TEST_F(EvaluatorTest, SignalsMeantForTheServerDoNotEndAHelper) {
  Evaluator evaluator(lasting());
  set_script(ordinary_script);
  ASSERT_EQ(Outcome::done, evaluate(evaluator, ordinary_message).outcome);  // it has set itself up
  const pid_t helper = evaluator.helper();
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) ASSERT_EQ(0, kill(helper, signal));
  EXPECT_EQ(ordinary_result, text_of(evaluate(evaluator, ordinary_message).result));
  EXPECT_EQ(helper, evaluator.helper());
}

TEST_F(EvaluatorTest, TheHelperGoesWithTheEvaluator) {
  pid_t helper = -1;
  {
    Evaluator evaluator;
    helper = evaluator.helper();
    ASSERT_TRUE(is_running(helper));
  }
  EXPECT_FALSE(is_running(helper));
}

// No descriptor of the server stays open in a helper: the far end of this socket sees its end.
TEST_F(EvaluatorTest, AHelperKeepsNoDescriptorOfTheServer) {
  int ends[2] = {-1, -1};
  ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM, 0, ends));
  const int high = fcntl(ends[0], F_DUPFD, 50);  // none of the numbers that a helper uses itself
  (void)close(ends[0]);
  Evaluator evaluator;
  ASSERT_EQ(Outcome::done, evaluate(evaluator, ordinary_script, ordinary_message).outcome);
  (void)close(high);
  char byte = 0;
  EXPECT_EQ(0, recv(ends[1], &byte, 1, MSG_DONTWAIT));
  (void)close(ends[1]);
}

TEST_F(EvaluatorTest, NoDescriptorIsLeftOpenByMessagesAndReplacements) {
  EvaluatorLimits limits = lasting();
  limits.messages = 5;
  Evaluator evaluator(limits);
  EXPECT_EQ(Outcome::done, evaluate(evaluator, ordinary_script, ordinary_message).outcome);
  const auto before = descriptors_of(getpid());
  for (int i = 0; i < 50; ++i)
    EXPECT_EQ(Outcome::done, evaluate(evaluator, ordinary_message).outcome);
  EXPECT_EQ(before, descriptors_of(getpid()));
}

}  // namespace
}  // namespace Quarrow::Delivery
