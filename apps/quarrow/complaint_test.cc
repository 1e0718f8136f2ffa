// Refusals as exit statuses and hints.
#include "apps/quarrow/complaint.h"

#include <gtest/gtest.h>
#include <sysexits.h>

#include <cerrno>

namespace Quarrow::Command {
namespace {

using Administration::Refusal;
using Kind = Refusal::Kind;

// As quarrow(1) lists the statuses.
const struct {
  Kind kind;
  int status;
  const char* hint;
} kinds[] = {
    {Kind::none, EX_OK, ""},
    {Kind::no_address, EX_NOUSER, ""},
    {Kind::no_such_user, EX_NOUSER, "; quarrow user add ABOUT makes one"},
    {Kind::user_exists, EX_DATAERR, ""},
    {Kind::has_mail, EX_DATAERR, "; --with-mail removes it, too"},
    {Kind::no_such_filter, EX_DATAERR, "; see quarrow filter list ABOUT"},
    {Kind::ambiguous_filter, EX_DATAERR, ""},
    {Kind::limit_reached, EX_DATAERR, ""},
    {Kind::outdated, EX_DATAERR, "; see quarrow history ABOUT"},
    {Kind::no_revision, EX_DATAERR, "; see quarrow history ABOUT"},
    {Kind::nothing_to_undo, EX_DATAERR, "; see quarrow history ABOUT"},
    {Kind::has_filters, EX_USAGE, "; give --append to keep them, or --replace"},
    {Kind::lossy_rules, EX_DATAERR, "; --accept-loss takes the others over"},
    {Kind::no_number_left, EX_DATAERR, ""},
    {Kind::no_name, EX_DATAERR, "; give one with --name"},
    {Kind::no_tests, EX_USAGE, "; give at least one --if 'subject contains quarterly'"},
    {Kind::too_many_tests, EX_USAGE, ""},
    {Kind::no_actions, EX_USAGE,
     "; give at least one --then 'move FOLDER', 'copy FOLDER' or delete"},
    {Kind::not_utf8, EX_DATAERR, "; type it in a UTF-8 terminal"},
    {Kind::unreadable_rule, EX_DATAERR, ""},
    {Kind::wrong_rule, EX_DATAERR, ""},
    {Kind::wrong_setting, EX_DATAERR, "; see quarrow config list"},
    {Kind::wrong_json, EX_DATAERR, ""},
    {Kind::script_too_long, EX_DATAERR, ""},
    {Kind::rules_refused, EX_DATAERR, "; see quarrow filter list for a rule that looks odd"},
    {Kind::no_configuration, EX_CONFIG, "; quarrow --root ABOUT init makes it"},
    {Kind::damaged_configuration, EX_CONFIG,
     "; restore it from a copy, or remove it and run quarrow init"},
    {Kind::damaged_document, EX_DATAERR, ""},
    {Kind::unreadable_part, EX_DATAERR,
     "; restore it from a copy, or change the filters with --accept-loss"},
    {Kind::damaged_history, EX_DATAERR, ""},
    {Kind::foreign_script, EX_DATAERR, "; keep a copy of it, and use --replace-script"},
    {Kind::locked, EX_TEMPFAIL, ""},
    {Kind::not_locked, EX_DATAERR, "; quarrow user lock ABOUT locks them"},
    {Kind::wrong_archive, EX_DATAERR, ""},
    {Kind::missing, EX_NOINPUT, ""},
    {Kind::not_permitted, EX_NOPERM, ""},
    {Kind::try_again, EX_TEMPFAIL, ""},
    {Kind::no_room, EX_IOERR, ""},
    {Kind::not_made, EX_CANTCREAT, ""},
    {Kind::not_written, EX_IOERR, ""},
    {Kind::crashed, EX_SOFTWARE, ""},
    {Kind::unavailable, EX_UNAVAILABLE, ""}};

TEST(Complaint, HasAStatusAndPerhapsAHintForEveryKindOfRefusal) {
  int number = 0;
  for (const auto& row : kinds) {
    SCOPED_TRACE(number);
    EXPECT_EQ(number++, static_cast<int>(row.kind));
    testing::internal::CaptureStderr();
    EXPECT_EQ(row.status, complain(Refusal{row.kind, "object", "reason"}, "ABOUT"));
    EXPECT_EQ(std::string("quarrow: object: reason") + row.hint + '\n',
              testing::internal::GetCapturedStderr());
    EXPECT_EQ(row.status, exit_status(row.kind));
  }
  EXPECT_EQ(number, static_cast<int>(Kind::unavailable) + 1);
}

TEST(Complaint, HintsAtTheObjectUnlessToldOtherwise) {
  testing::internal::CaptureStderr();
  complain(Refusal{Kind::no_such_filter, "alice@example.org", "no filter 3"});
  EXPECT_EQ("quarrow: alice@example.org: no filter 3; see quarrow filter list alice@example.org\n",
            testing::internal::GetCapturedStderr());
}

TEST(FileStatus, IsThatOfTheRefusal) {
  EXPECT_EQ(EX_NOPERM, file_status(EACCES));
  EXPECT_EQ(EX_NOINPUT, file_status(ENOENT));
  EXPECT_EQ(EX_TEMPFAIL, file_status(EMFILE));
  EXPECT_EQ(EX_IOERR, file_status(EIO));
}

}  // namespace
}  // namespace Quarrow::Command
