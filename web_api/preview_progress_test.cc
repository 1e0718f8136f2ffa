// What a client keeps between two answers.
#include "web_api/preview_progress.h"

#include <gtest/gtest.h>

#include "web_api/opaque_text.h"

namespace Quarrow::WebApi {
namespace {

PreviewProgress some_progress() {
  PreviewProgress progress;
  progress.examined = 9;
  progress.caught = 5;
  progress.changed = 4;
  progress.failed = 3;
  progress.examples = 2;
  progress.taken_earlier = {{-7, 1}, {3, 2}};
  progress.last = {-5, "a\xff"};
  return progress;
}

TEST(PreviewProgress, GoesOnWhereItWas) {
  const PreviewProgress before = some_progress();
  PreviewProgress after;
  std::string question;
  ASSERT_TRUE(read_cursor(cursor_of(before, "question"), 9, after, question));
  EXPECT_EQ("question", question);
  EXPECT_EQ(9U, after.examined);
  EXPECT_EQ(5U, after.caught);
  EXPECT_EQ(4U, after.changed);
  EXPECT_EQ(3U, after.failed);
  EXPECT_EQ(2U, after.examples);
  EXPECT_EQ(before.taken_earlier, after.taken_earlier);
  EXPECT_EQ(before.last, after.last);
}

TEST(PreviewProgress, TakesNoOtherCursor) {
  const std::string cursor = cursor_of(some_progress(), "question");
  PreviewProgress progress;
  std::string question;
  for (std::size_t length = 0; length < cursor.size(); ++length)
    EXPECT_FALSE(read_cursor(cursor.substr(0, length), 9, progress, question)) << length;
  EXPECT_FALSE(read_cursor(cursor + "00", 9, progress, question));
  EXPECT_FALSE(read_cursor(cursor, 8, progress, question)) << "more than may be examined";
  std::string upper = cursor;
  upper[upper.find('f')] = 'F';
  EXPECT_FALSE(read_cursor(upper, 9, progress, question));
}

TEST(PreviewProgress, IsNotMadeToWorkByNumbers) {
  const std::string many(8, '\xff');
  PreviewProgress progress;
  std::string question;
  EXPECT_FALSE(read_cursor(opaque_text(many), 9, progress, question));
  const std::string none(48, '\0');
  EXPECT_FALSE(read_cursor(opaque_text(none + many), 9, progress, question));
}

}  // namespace
}  // namespace Quarrow::WebApi
