#include "completion/cursor.h"

#include <gtest/gtest.h>
#include <CLI/CLI.hpp>

#include <memory>

namespace Quarrow::Completion {
namespace {

// A command with a subcommand, of which options are declared when it is read, as ours are.
class CursorTest : public ::testing::Test {
 protected:
  CursorTest() {
    app_.add_option("--root", root_)->type_name("DIR");
    CLI::App* const sub = app_.add_subcommand("add", "Add something");
    app_.require_subcommand(1);
    sub->preparse_callback([this, sub](std::size_t) {
      sub->add_option("user", user_)->type_name("")->required();
      sub->add_option("files", files_)->type_name("");
      sub->add_option("-n,--name", name_)->type_name("TEXT");
      sub->add_option("--count", count_)->type_name("N")->check(CLI::Range(1, 5));
      sub->add_flag("--all", all_);
    });
  }

  Cursor at(const std::vector<std::string>& words) { return find_cursor(app_, words); }

  CLI::App app_{"", "program"};
  std::string root_;
  std::string user_;
  std::string name_;
  int count_ = 0;
  bool all_ = false;
  std::vector<std::string> files_;
};

TEST_F(CursorTest, WantsASubcommandWhereNoneIsGiven) {
  const Cursor cursor = at({"--root", "here", "a"});
  EXPECT_EQ(Place::subcommand, cursor.place);
  EXPECT_EQ("a", cursor.typed);
  EXPECT_EQ("here", given(cursor, "--root"));
  EXPECT_EQ("", command_words(cursor));
}

TEST_F(CursorTest, WantsAnArgumentInItsPlace) {
  const Cursor cursor = at({"add", "--all", ""});
  ASSERT_EQ(Place::value, cursor.place);
  EXPECT_EQ("user", cursor.option->get_name(true));
  EXPECT_EQ("add", command_words(cursor));
  EXPECT_TRUE(has(cursor, "--all"));
  EXPECT_FALSE(has(cursor, "--name"));
}

TEST_F(CursorTest, CountsArguments) {
  const Cursor cursor = at({"add", "alice", "a.eml", "b"});
  ASSERT_EQ(Place::value, cursor.place);
  EXPECT_TRUE(cursor.option->check_name("files"));
  EXPECT_EQ("alice", given(cursor, "user"));
}

TEST_F(CursorTest, WantsTheValueOfAnOption) {
  const Cursor cursor = at({"add", "-n", "-x"});
  ASSERT_EQ(Place::value, cursor.place);
  EXPECT_TRUE(cursor.option->check_name("--name"));
  EXPECT_EQ("-x", cursor.typed);
}

TEST_F(CursorTest, FindsAValueBehindAnEqualsSign) {
  const Cursor cursor = at({"add", "--name=a=b"});
  ASSERT_EQ(Place::value, cursor.place);
  EXPECT_TRUE(cursor.option->check_name("--name"));
  EXPECT_EQ("--name=", cursor.prefix);
  EXPECT_EQ("a=b", cursor.typed);
}

TEST_F(CursorTest, WantsOptionsBehindADash) {
  EXPECT_EQ(Place::option_name, at({"add", "alice", "--co"}).place);
}

TEST_F(CursorTest, WantsNoOptionsBehindTheirEnd) {
  const Cursor cursor = at({"add", "--", "-x"});
  ASSERT_EQ(Place::value, cursor.place);
  EXPECT_TRUE(cursor.option->check_name("user"));
}

TEST_F(CursorTest, WantsNothingWhereNothingCanStand) {
  EXPECT_EQ(Place::nothing, at({"nonsense", ""}).place);
}

TEST_F(CursorTest, WantsNoValueOfAFlag) { EXPECT_EQ(Place::nothing, at({"add", "--all=x"}).place); }

TEST_F(CursorTest, IsNotLedAstrayByWrongValues) {
  const Cursor cursor = at({"--root", "here", "add", "--count", "many", "alice", ""});
  ASSERT_EQ(Place::value, cursor.place);
  EXPECT_TRUE(cursor.option->check_name("files"));
  EXPECT_EQ("here", given(cursor, "--root"));
}

}  // namespace
}  // namespace Quarrow::Completion
