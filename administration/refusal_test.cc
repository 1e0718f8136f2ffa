// Which kind the failures of system calls are.
#include "administration/refusal.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "administration/administration_test_support.h"

namespace Quarrow::Administration {
namespace {

const struct {
  int error;
  Kind kind;
} errors[] = {
    {EACCES, Kind::not_permitted}, {EPERM, Kind::not_permitted}, {EROFS, Kind::not_permitted},
    {ENOENT, Kind::missing},       {ENOTDIR, Kind::missing},     {EAGAIN, Kind::try_again},
    {EINTR, Kind::try_again},      {EMFILE, Kind::try_again},    {ENFILE, Kind::try_again},
    {ENOMEM, Kind::try_again},     {ENOSPC, Kind::no_room},      {EDQUOT, Kind::no_room},
    {EFBIG, Kind::no_room},        {EIO, Kind::not_written}};

TEST(Refusal, IsNoneUntilItHasAKind) {
  EXPECT_FALSE(Refusal());
  EXPECT_TRUE((Refusal{Kind::wrong_rule, "", ""}));
}

TEST(SystemRefusal, HasTheKindOfItsError) {
  for (const auto& row : errors) EXPECT_EQ(row.kind, kind_of_error(row.error)) << row.error;
}

TEST(SystemRefusal, SaysWhatFailedAndWhy) {
  expect_refusal(Kind::no_room, "a", "No space left on device", system_refusal("a", "", ENOSPC));
  expect_refusal(Kind::not_permitted, "a", "can't be read: Permission denied",
                 system_refusal("a", "can't be read", EACCES));
  expect_refusal(Kind::not_written, "a", "can't be written",
                 system_refusal("a", "can't be written", 0));
}

TEST(MakingRefusal, TellsMissingRightsFromAllElse) {
  expect_refusal(Kind::not_permitted, "a", "can't be made: Read-only file system",
                 making_refusal("a", EROFS));
  expect_refusal(Kind::not_made, "a", "can't be made: Not a directory",
                 making_refusal("a", ENOTDIR));
  EXPECT_EQ(Kind::not_made, making_refusal("a", ENOSPC).kind);
}

}  // namespace
}  // namespace Quarrow::Administration
