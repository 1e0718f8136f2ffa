// How sources are cut into batches.
#include "trial/batch.h"

#include <gtest/gtest.h>

#include <string>

namespace Quarrow::Trial {
namespace {

// The batches of files of these sizes, one text for each: its sources, and where the messages of a
// part begin.
std::vector<std::string> cut(const std::vector<std::uint64_t>& sizes) {
  std::vector<MailSource> sources;
  for (const std::uint64_t size : sizes) sources.push_back({"file", size});
  std::vector<std::string> texts;
  for (const Batch& batch : batches_of(sources)) {
    std::string text = batch.is_stream ? "stream " : "";
    text += std::to_string(batch.source) + '+' + std::to_string(batch.count);
    if (batch.is_part()) text += " from " + std::to_string(batch.begin);
    if (batch.is_part() && batch.end != UINT64_MAX) text += " to " + std::to_string(batch.end);
    texts.push_back(text);
  }
  return texts;
}

using Texts = std::vector<std::string>;

TEST(Batch, HoldsSmallFilesTogether) {
  EXPECT_EQ(Texts{}, cut({}));
  EXPECT_EQ(Texts{"0+3"}, cut({1, 2, 3}));
  EXPECT_EQ((Texts{"0+64", "64+6"}), cut(std::vector<std::uint64_t>(70, 1)));
}

TEST(Batch, HoldsNoMoreThanItsSize) {
  EXPECT_EQ(Texts{"0+2"}, cut({batch_size - 1, 1}));
  EXPECT_EQ((Texts{"0+1", "1+1"}), cut({batch_size, 1}));
  EXPECT_EQ((Texts{"0+2", "2+1"}), cut({batch_size - 2, 1, 2}));
}

TEST(Batch, IsAPartOfALargeFile) {
  EXPECT_EQ((Texts{"0+1", "1+1 from 0 to 524288", "1+1 from 524288 to 1048576", "1+1 from 1048576",
                   "2+1"}),
            cut({1, 2 * batch_size + 1, 1}));
  EXPECT_EQ((Texts{"0+1 from 0 to 524288", "0+1 from 524288"}), cut({2 * batch_size}));
}

TEST(Batch, HoldsAStreamAlone) {
  EXPECT_EQ((Texts{"0+1", "stream 1+1", "stream 2+1", "3+2"}), cut({1, 0, 0, 1, 1}));
}

}  // namespace
}  // namespace Quarrow::Trial
