// Commits, and every way in which they are refused.
#include <gtest/gtest.h>
#include <unistd.h>

#include "administration/rules_transaction_test_support.h"

namespace Quarrow::Administration {
namespace {

using MessageFilters::make_rule;
using MessageFilters::make_test;
using MessageFilters::subject_test;

class RulesCommitTest : public RulesTransactionTest {};

TEST_F(RulesCommitTest, RefusesAScriptThatIsTooLong) {
  commit_one_rule();
  const Refusal refusal = refusal_after([] {}, std::string(40000, 'x'));
  EXPECT_EQ(Kind::script_too_long, refusal.kind);
  EXPECT_EQ("alice@example.org", refusal.object);
  EXPECT_NE(std::string::npos,
            refusal.reason.find(" bytes, of which only 32768 would be read; nothing was changed; "
                                "remove or shorten some"));
}

TEST_F(RulesCommitTest, RefusesRulesThatDoNotCompile) {
  RulesTransaction rules(alice);
  ASSERT_EQ("", said(rules.open()));
  const auto filter = make_rule("a", make_test("size", "size", "greater", "10M"), false);
  ASSERT_EQ("", said(rules.add(filter, 0)));
  expect_refusal(Kind::rules_refused, "alice@example.org",
                 "the Sieve compiler refused the rules as a whole; nothing was changed",
                 rules.commit());
  EXPECT_FALSE(std::filesystem::exists(script_));
}

TEST_F(RulesCommitTest, RefusesAChangeOfAUserWhoIsMoved) {
  commit_one_rule();
  const std::string document = content_of(document_);
  write_file(folder_ + "/.quarrow_lock", "");
  RulesTransaction rules(alice);
  ASSERT_EQ("", said(rules.open()));
  EXPECT_EQ(Kind::locked, rules.check_commit().kind);
  expect_refusal(
      Kind::locked, folder_,
      "nothing was changed, since the user is being moved to another machine; try again later",
      add_rule(rules));
  EXPECT_EQ(document, content_of(document_));
}

TEST_F(RulesCommitTest, RefusesAFolderThatMayNotBeWritten) {
  commit_one_rule();
  expect_refusal(Kind::not_permitted, folder_, "nothing was changed: Permission denied",
                 without_writing_in(folder_, [] {
                   RulesTransaction rules(alice);
                   const Refusal refusal = rules.open();
                   return refusal ? refusal : rules.commit();
                 }));
}

TEST_F(RulesCommitTest, RefusesACommitOfAnotherThanTheOwner) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can act as another user";
  commit_one_rule();
  std::filesystem::permissions(folder_, std::filesystem::perms(0777));
  write_file(script_ + ".new", "of a commit that may be under way");
  expect_refusal(
      Kind::not_permitted, folder_,
      "nothing was changed; the rules are changed by the owner of the folder, or by root",
      as_nobody([] {
        RulesTransaction rules(alice);
        const Refusal refusal = rules.open();
        return refusal ? refusal : rules.commit();
      }));
  EXPECT_TRUE(std::filesystem::exists(script_ + ".new"));
}

TEST_F(RulesCommitTest, RefusesFilesThatCantBeWritten) {
  commit_one_rule();
  for (const std::string& path : {document_, script_}) {
    const std::string draft = path + ".new";
    expect_refusal(Kind::not_written, draft,
                   "the rules could not be written; nothing was changed: File exists",
                   refusal_after([&draft] { std::filesystem::create_directory(draft); }));
    std::filesystem::remove(draft);
  }
}

TEST_F(RulesCommitTest, RefusesFoldersInPlaceOfFiles) {
  for (const std::string& path : {document_, script_}) {
    RulesTransaction rules(alice);
    ASSERT_EQ("", said(rules.open()));
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

TEST_F(RulesCommitTest, FollowsNoLinkInTheFolder) {
  const std::string outside = root_.write("outside", "outside");
  commit_one_rule();
  for (const char* end : {".new", ".xml.new", ".tmp", ".xml.tmp", ".kept", ".xml.kept"})
    std::filesystem::create_symlink(outside, script_ + end);
  edit([](RulesTransaction& rules) { return rules.add(make_rule("more", subject_test()), 0); });
  EXPECT_EQ("outside", content_of(outside));
  EXPECT_EQ("Rule more ", names());
}

TEST_F(RulesCommitTest, RefusesADocumentThatIsALink) {
  commit_one_rule();
  std::filesystem::rename(document_, root_.file("others.xml"));
  std::filesystem::create_symlink(root_.file("others.xml"), document_);
  expect_refusal(Kind::damaged_document, document_,
                 "damaged filter document: it is a link, which is not followed; restore it from a "
                 "copy, or remove it to start anew",
                 RulesTransaction(alice).open());
}

TEST_F(RulesCommitTest, RefusesToLoseWhatItCouldNotLoad) {
  commit_one_rule();
  std::string document = content_of(document_);
  document.replace(document.find("contains"), 8, "contians");
  write_file(document_, document);
  const Refusal refusal = refusal_after([] {});
  expect_refusal(Kind::unreadable_part, document_,
                 "can't be read in full, and a change would lose test 1 of filter 1", refusal);
  RulesTransaction rules(alice);
  ASSERT_EQ("", said(rules.open()));
  EXPECT_EQ(said(refusal), said(rules.check_loss()));
  EXPECT_EQ("", said(rules.commit({true, false})));
}

TEST_F(RulesCommitTest, RefusesToReplaceAScriptThatIsNotOfFilters) {
  write_file(script_, "keep;\n");
  expect_refusal(Kind::foreign_script, script_,
                 "was not made from filters, and a change would replace it", refusal_after([] {}));
  RulesTransaction rules(alice);
  ASSERT_EQ("", said(rules.open()));
  EXPECT_EQ("", said(rules.commit({false, true})));
  EXPECT_NE("keep;\n", content_of(script_));
}

TEST_F(RulesCommitTest, ReplacesAScriptThatFiltersMadeUnasked) {
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

TEST_F(RulesCommitTest, RefusesFiltersThatCantBeWritten) {
  const auto crowded = make_rule("a", subject_test());
  crowded->tests.resize(11, subject_test());
  for (const auto& filter : {make_rule("a", MessageFilters::Test()), crowded}) {
    RulesTransaction rules(alice);
    ASSERT_EQ("", said(rules.open()));
    rules.filters().filters->filters.push_back(filter);
    expect_refusal(Kind::not_written, "alice@example.org",
                   "the rules can't be written in a form that reads back; nothing was changed",
                   rules.commit());
    EXPECT_FALSE(std::filesystem::exists(document_));
  }
}

TEST_F(RulesCommitTest, TellsADiskThatIsFull) {
  commit_one_rule();
  expect_refusal(Kind::no_room, document_ + ".new",
                 "the rules could not be written; nothing was changed: File too large",
                 refusal_after([] { limit_file_size(400); }));
  EXPECT_EQ("Rule ", names());
}

}  // namespace
}  // namespace Quarrow::Administration
