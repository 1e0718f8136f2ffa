// Transactions that are carried out, and every way in which they are refused.
#include "administration/rules_transaction.h"

#include <base.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <future>
#include <limits>
#include <vector>

#include "administration/administration_test_support.h"
#include "tests/support/rules_test_support.h"

namespace {

bool locks_left = true;
bool folder_locks_exclude = true;

bool is_folder(int fd) {
  struct stat status {};
  return fstat(fd, &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace

// In place of the system's: the only way to meet a file system without locks, or one of those where
// a folder's lock excludes nobody.
extern "C" int flock(int fd, int operation) noexcept {
  if (!folder_locks_exclude && is_folder(fd)) return 0;
  if (locks_left) return static_cast<int>(syscall(SYS_flock, fd, operation));
  errno = ENOLCK;
  return -1;
}

namespace Quarrow::Administration {
namespace {

using MessageFilters::Filter__;
using MessageFilters::make_action;
using MessageFilters::make_filter;
using MessageFilters::make_rule;
using MessageFilters::make_test;
using MessageFilters::subject_test;

const EmailAddress alice("alice@example.org");

// The refusal of adding a rule with a test of the subject for `value`, and of the commit.
Refusal add_rule(RulesTransaction& rules, const std::string& value = "word") {
  const Refusal refusal = rules.add(make_rule("Rule", subject_test(value)), 0);
  return refusal ? refusal : rules.commit();
}

class RulesTransactionTest : public testing::Test {
 protected:
  ~RulesTransactionTest() override { cmdb.system = nullptr; }

  // The names of the committed filters in their order.
  std::string names() const {
    RulesTransaction rules(alice);
    EXPECT_EQ("", said(rules.open(false)));
    std::string all;
    for (const auto& filter : rules.filters().filters->filters) all += filter->name + ' ';
    return all;
  }

  void edit(const std::function<Refusal(RulesTransaction&)>& change) const {
    RulesTransaction rules(alice);
    EXPECT_EQ("", said(rules.open(true)));
    EXPECT_EQ("", said(change(rules)));
    EXPECT_EQ("", said(rules.commit()));
  }

  // Commits a rule that all users may read.
  void commit_one_rule() const {
    edit([](RulesTransaction& rules) { return rules.add(make_rule("Rule", subject_test()), 0); });
    for (const std::string& path : {root_.file("example.org"), folder_, document_, script_})
      std::filesystem::permissions(path, std::filesystem::perms(0755));
  }

  // The refusal of a further rule after `disturb` was called between opening and committing, and
  // whether the files are as they were.
  Refusal refusal_after(const std::function<void()>& disturb,
                        const std::string& value = "word") const {
    const std::string document = content_of(document_);
    const std::string script = content_of(script_);
    const Refusal refusal = in_child([&] {
      RulesTransaction rules(alice);
      if (const Refusal unopened = rules.open(true)) return unopened;
      disturb();
      return add_rule(rules, value);
    });
    EXPECT_EQ(document, content_of(document_));
    EXPECT_EQ(script, content_of(script_));
    EXPECT_FALSE(std::filesystem::is_regular_file(document_ + ".new"));
    EXPECT_FALSE(std::filesystem::is_regular_file(script_ + ".new"));
    return refusal;
  }

  const TemporaryRoot root_;
  const std::string folder_ = root_.file("example.org/alice");
  const std::string script_ = rules_script(alice.address());
  const std::string document_ = rules_document(alice.address());
};

TEST_F(RulesTransactionTest, StandsInTheUsersFolder) {
  EXPECT_EQ(folder_ + "/.delivery_filter", script_);
  EXPECT_EQ(folder_ + "/.delivery_filter.xml", document_);
}

TEST_F(RulesTransactionTest, MakesAMissingFolderOnlyWhenItIsAsked) {
  EXPECT_EQ("", said(RulesTransaction(alice).open(false)));
  EXPECT_FALSE(std::filesystem::exists(folder_));
  EXPECT_EQ("", said(RulesTransaction(alice).open(true)));
  EXPECT_TRUE(std::filesystem::is_directory(folder_));
}

TEST_F(RulesTransactionTest, CommitsWhatWasEdited) {
  edit([](RulesTransaction& rules) {
    const Refusal refusal = rules.add(make_rule("second", subject_test()), 0);
    return refusal ? refusal : rules.add(make_rule("first", subject_test()), 1);
  });
  EXPECT_EQ("first second ", names());
  edit([](RulesTransaction& rules) { return rules.remove(1); });
  EXPECT_EQ("first ", names());
  edit([](RulesTransaction& rules) { return rules.remove(2); });
  EXPECT_EQ("", names());
}

TEST_F(RulesTransactionTest, PutsBackWhatAnEarlierVersionLeftWhenItWasCutOff) {
  commit_one_rule();
  std::filesystem::rename(document_, document_ + ".kept");
  std::filesystem::rename(script_, script_ + ".kept");
  write_file(document_ + ".tmp", "half");
  write_file(script_ + ".tmp", "half");
  EXPECT_EQ("Rule ", names());
  EXPECT_TRUE(std::filesystem::exists(script_));
  for (const std::string& path : {document_, script_})
    for (const char* end : {".kept", ".tmp"}) EXPECT_FALSE(std::filesystem::exists(path + end));
}

TEST_F(RulesTransactionTest, LosesNothingWhereFoldersCantBeLocked) {
  folder_locks_exclude = false;
  ASSERT_EQ("", said(RulesTransaction(alice).open(true)));
  constexpr int processes = 12;
  std::vector<std::future<Refusal>> changes;
  for (int started = 0; started < processes; ++started)
    changes.push_back(std::async(std::launch::async, [] {
      return in_child([] {
        RulesTransaction rules(alice);
        const Refusal refusal = rules.open(true);
        return refusal ? refusal : add_rule(rules);
      });
    }));
  for (auto& change : changes) EXPECT_EQ("", said(change.get()));
  folder_locks_exclude = true;
  RulesTransaction rules(alice);
  ASSERT_EQ("", said(rules.open(false)));
  EXPECT_EQ(processes, rules.filters().filters->filters.size());
}

TEST_F(RulesTransactionTest, WaitsNoLongerThanItsPatience) {
  commit_one_rule();
  RulesTransaction first(alice);
  ASSERT_EQ("", said(first.open(false)));
  expect_refusal(Kind::try_again, folder_, "is being changed by another process; try again later",
                 RulesTransaction(alice, std::chrono::milliseconds(20)).open(false));
}

TEST_F(RulesTransactionTest, RefusesAFolderThatCantBeMade) {
  root_.write("example.org", "no folder");
  expect_refusal(Kind::not_made, folder_, "can't be made: Not a directory",
                 RulesTransaction(alice).open(true));
}

TEST_F(RulesTransactionTest, RefusesAFolderThatMayNotBeMade) {
  expect_refusal(Kind::not_permitted, folder_, "can't be made: Permission denied",
                 without_writing_in(
                     root_.path(), [] { return RulesTransaction(alice).open(true); }));
}

TEST_F(RulesTransactionTest, RefusesWhatIsNoFolder) {
  std::filesystem::create_directory(root_.file("example.org"));
  write_file(folder_, "no folder");
  expect_refusal(Kind::missing, folder_, "Not a directory", RulesTransaction(alice).open(false));
}

TEST_F(RulesTransactionTest, RefusesAFolderThatCantBeLocked) {
  locks_left = false;
  const Refusal refusal = RulesTransaction(alice).open(true);
  locks_left = true;
  expect_refusal(Kind::try_again, folder_, "can't be locked: No locks available", refusal);
}

TEST_F(RulesTransactionTest, RefusesADocumentThatMayNotBeRead) {
  commit_one_rule();
  std::filesystem::permissions(document_, std::filesystem::perms::none);
  expect_refusal(Kind::not_permitted, document_, "Permission denied",
                 as_nobody([] { return RulesTransaction(alice).open(false); }));
}

TEST_F(RulesTransactionTest, RefusesADocumentOfWhichNothingIsRead) {
  commit_one_rule();
  for (const char* content : {"", "<filters", "<filters></filters>"}) {
    write_file(document_, content);
    expect_refusal(Kind::damaged_document, document_,
                   "damaged filter document: no filter can be read from it; restore it from a "
                   "copy, or remove it to start anew",
                   RulesTransaction(alice).open(false));
  }
}

TEST_F(RulesTransactionTest, RefusesAFilterThatIsNotThere) {
  RulesTransaction rules(alice);
  ASSERT_EQ("", said(rules.open(true)));
  ASSERT_EQ("", said(add_rule(rules)));
  EXPECT_EQ("", said(rules.check_filter(1)));
  EXPECT_EQ("", said(rules.check_place(1)));
  for (const Refusal& refusal : {rules.check_filter(2), rules.check_place(2), rules.remove(2),
                                 rules.add(make_rule("a", subject_test()), 2)})
    expect_refusal(Kind::no_such_filter, "alice@example.org", "no filter 2", refusal);
}

TEST_F(RulesTransactionTest, RefusesAFilterBeyondTheLimit) {
  SystemRecord small;
  cmdb.system = &small;
  RulesTransaction rules(alice);
  ASSERT_EQ("", said(rules.open(true)));
  for (int count = 0; count < 20; ++count)
    ASSERT_EQ("", said(rules.add(make_rule("a", subject_test()), 0)));
  for (const Refusal& refusal :
       {rules.check_place(0), rules.add(make_rule("a", subject_test()), 0)})
    expect_refusal(Kind::limit_reached, "alice@example.org",
                   "has 20 filters, the most there may be; remove one first", refusal);
}

TEST_F(RulesTransactionTest, RefusesAFilterForWhichNoNumberIsLeft) {
  RulesTransaction rules(alice);
  ASSERT_EQ("", said(rules.open(true)));
  const auto last = make_rule("last", subject_test());
  last->id = std::numeric_limits<std::int32_t>::max();
  ASSERT_EQ("", said(rules.add(last, 0)));
  expect_refusal(Kind::no_number_left, "alice@example.org",
                 "no filter number is left; the highest one is in use",
                 rules.add(make_rule("a", subject_test()), 0));
}

TEST_F(RulesTransactionTest, RefusesAFilterThatLacksAPart) {
  RulesTransaction rules(alice);
  ASSERT_EQ("", said(rules.open(true)));
  const auto nameless = make_rule("", subject_test());
  const auto unrelated = make_rule("a", subject_test());
  unrelated->relation = "someof";
  const auto idle = make_rule("a", subject_test());
  idle->actions.clear();
  EXPECT_EQ(Kind::no_name, rules.add(nameless, 0).kind);
  EXPECT_EQ(Kind::wrong_rule, rules.add(unrelated, 0).kind);
  EXPECT_EQ(Kind::no_tests, rules.add(make_filter("a"), 0).kind);
  EXPECT_EQ(Kind::no_actions, rules.add(idle, 0).kind);
  EXPECT_TRUE(rules.filters().filters->filters.empty());
}

TEST_F(RulesTransactionTest, RefusesAScriptThatIsTooLong) {
  commit_one_rule();
  const Refusal refusal = refusal_after([] {}, std::string(40000, 'x'));
  EXPECT_EQ(Kind::script_too_long, refusal.kind);
  EXPECT_EQ("alice@example.org", refusal.object);
  EXPECT_NE(std::string::npos,
            refusal.reason.find(" bytes, of which only 32768 would be read; nothing was changed; "
                                "remove or shorten some"));
}

TEST_F(RulesTransactionTest, RefusesRulesThatDoNotCompile) {
  RulesTransaction rules(alice);
  ASSERT_EQ("", said(rules.open(true)));
  const auto filter = make_rule("a", make_test("size", "size", "greater", "10M"), false);
  ASSERT_EQ("", said(rules.add(filter, 0)));
  expect_refusal(Kind::rules_refused, "alice@example.org",
                 "the Sieve compiler refused the rules as a whole; nothing was changed",
                 rules.commit());
  EXPECT_FALSE(std::filesystem::exists(script_));
}

TEST_F(RulesTransactionTest, RefusesAFolderThatMayNotBeWritten) {
  commit_one_rule();
  expect_refusal(Kind::not_permitted, folder_, "nothing was changed: Permission denied",
                 without_writing_in(folder_, [] {
                   RulesTransaction rules(alice);
                   const Refusal refusal = rules.open(false);
                   return refusal ? refusal : rules.commit();
                 }));
}

TEST_F(RulesTransactionTest, RefusesACommitOfAnotherThanTheOwner) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can act as another user";
  commit_one_rule();
  std::filesystem::permissions(folder_, std::filesystem::perms(0777));
  expect_refusal(
      Kind::not_permitted, folder_,
      "nothing was changed; the rules are changed by the owner of the folder, or by root",
      as_nobody([] {
        RulesTransaction rules(alice);
        const Refusal refusal = rules.open(false);
        return refusal ? refusal : rules.commit();
      }));
}

TEST_F(RulesTransactionTest, RefusesFilesThatCantBeWritten) {
  commit_one_rule();
  for (const std::string& path : {document_, script_}) {
    const std::string draft = path + ".new";
    expect_refusal(Kind::not_written, draft,
                   "the rules could not be written; nothing was changed: File exists",
                   refusal_after([&draft] { std::filesystem::create_directory(draft); }));
    std::filesystem::remove(draft);
  }
}

TEST_F(RulesTransactionTest, RefusesFoldersInPlaceOfFiles) {
  for (const std::string& path : {document_, script_}) {
    RulesTransaction rules(alice);
    ASSERT_EQ("", said(rules.open(true)));
    ASSERT_EQ("", said(rules.add(make_rule("Rule", subject_test()), 0)));
    std::filesystem::create_directory(path);
    expect_refusal(Kind::not_written, path,
                   "the rules could not be written; nothing was changed: Is a directory",
                   rules.commit({false, true}));
    EXPECT_TRUE(std::filesystem::is_empty(path));
    EXPECT_EQ(2, std::distance(std::filesystem::directory_iterator(folder_), {}));  // and the lock
    std::filesystem::remove(path);
  }
}

TEST_F(RulesTransactionTest, FollowsNoLinkInTheFolder) {
  const std::string outside = root_.write("outside", "outside");
  commit_one_rule();
  for (const char* end : {".new", ".xml.new", ".tmp", ".xml.tmp", ".kept", ".xml.kept"})
    std::filesystem::create_symlink(outside, script_ + end);
  edit([](RulesTransaction& rules) { return rules.add(make_rule("more", subject_test()), 0); });
  EXPECT_EQ("outside", content_of(outside));
  EXPECT_EQ("Rule more ", names());
}

TEST_F(RulesTransactionTest, RefusesADocumentThatIsALink) {
  commit_one_rule();
  std::filesystem::rename(document_, root_.file("others.xml"));
  std::filesystem::create_symlink(root_.file("others.xml"), document_);
  expect_refusal(Kind::damaged_document, document_,
                 "damaged filter document: it is a link, which is not followed; restore it from a "
                 "copy, or remove it to start anew",
                 RulesTransaction(alice).open(false));
}

TEST_F(RulesTransactionTest, RefusesToLoseWhatItCouldNotLoad) {
  commit_one_rule();
  std::string document = content_of(document_);
  document.replace(document.find("contains"), 8, "contians");
  write_file(document_, document);
  const Refusal refusal = refusal_after([] {});
  expect_refusal(Kind::unreadable_part, document_,
                 "can't be read in full, and a change would lose test 1 of filter 1", refusal);
  RulesTransaction rules(alice);
  ASSERT_EQ("", said(rules.open(false)));
  EXPECT_EQ(said(refusal), said(rules.check_loss()));
  EXPECT_EQ("", said(rules.commit({true, false})));
}

TEST_F(RulesTransactionTest, RefusesToReplaceAScriptThatIsNotOfFilters) {
  std::filesystem::create_directories(folder_);
  write_file(script_, "keep;\n");
  expect_refusal(Kind::foreign_script, script_,
                 "was not made from filters, and a change would replace it", refusal_after([] {}));
  RulesTransaction rules(alice);
  ASSERT_EQ("", said(rules.open(false)));
  EXPECT_EQ("", said(rules.commit({false, true})));
  EXPECT_NE("keep;\n", content_of(script_));
}

TEST_F(RulesTransactionTest, ReplacesAScriptThatFiltersMadeUnasked) {
  commit_one_rule();
  const std::string script = content_of(script_);
  for (const std::string& content : {std::string(), script, script.substr(0, script.size() / 2)}) {
    write_file(script_, content);
    edit([](RulesTransaction&) { return Refusal(); });
    EXPECT_EQ(script, content_of(script_));
  }
  std::filesystem::remove(document_);
  edit([](RulesTransaction&) { return Refusal(); });
  EXPECT_NE(script, content_of(script_));
}

TEST_F(RulesTransactionTest, RefusesFiltersThatCantBeWritten) {
  const auto crowded = make_rule("a", subject_test());
  crowded->tests.resize(11, subject_test());
  for (const auto& filter : {make_rule("a", MessageFilters::Test()), crowded}) {
    RulesTransaction rules(alice);
    ASSERT_EQ("", said(rules.open(true)));
    rules.filters().filters->filters.push_back(filter);
    expect_refusal(Kind::not_written, "alice@example.org",
                   "the rules can't be written in a form that reads back; nothing was changed",
                   rules.commit());
    EXPECT_FALSE(std::filesystem::exists(document_));
  }
}

TEST_F(RulesTransactionTest, TellsADiskThatIsFull) {
  commit_one_rule();
  expect_refusal(Kind::no_room, document_ + ".new",
                 "the rules could not be written; nothing was changed: File too large",
                 refusal_after([] { limit_file_size(400); }));
  EXPECT_EQ("Rule ", names());
}

}  // namespace
}  // namespace Quarrow::Administration
