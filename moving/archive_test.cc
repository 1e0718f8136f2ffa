// Members of an archive, written and read back.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "moving/archive_reader.h"
#include "moving/archive_writer.h"
#include "system/descriptor.h"
#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow::Moving {
namespace {

class ArchiveTest : public testing::Test {
 protected:
  Descriptor opened(int flags) const {
    return Descriptor(open(path_.c_str(), flags | O_CLOEXEC, S_IRUSR | S_IWUSR));
  }

  const TemporaryFolder folder_;
  const std::string path_ = folder_.file("archive");
};

TEST_F(ArchiveTest, KeepsNamesTimesAndBytes) {
  const std::string long_name = std::string(250, 'a') + '/' + std::string(250, 'b');
  const std::string zeros(200000, '\0');
  std::string sum;
  {
    const Descriptor file = opened(O_WRONLY | O_CREAT);
    ArchiveWriter writer(file.get());
    EXPECT_TRUE(writer.begin({"folder/", true, 0750, {7, 8}, 0}) && writer.end_member());
    EXPECT_TRUE(writer.begin({long_name, false, 0640, {1777896000, 123456789}, zeros.size()}) &&
                writer.add(zeros.data(), zeros.size()) && writer.end_member());
    EXPECT_TRUE(writer.add_text("\xff\xfe", "x"));
    EXPECT_TRUE(writer.add_text("\xc3\xa4", ""));
    sum = writer.sum();
    EXPECT_TRUE(writer.add_text("last", "the end") && writer.finish());
  }
  const Descriptor file = opened(O_RDONLY);
  ArchiveReader reader(file.get());
  Member member;
  ASSERT_TRUE(reader.next(member)) << reader.fault();
  EXPECT_EQ("folder/", member.name);
  EXPECT_TRUE(member.is_folder);
  EXPECT_EQ(0750U, member.mode);
  ASSERT_TRUE(reader.next(member)) << reader.fault();
  EXPECT_EQ(long_name, member.name);
  EXPECT_FALSE(member.is_folder);
  EXPECT_EQ(0640U, member.mode);
  EXPECT_EQ(1777896000, member.changed.tv_sec);
  EXPECT_EQ(123456789, member.changed.tv_nsec);
  std::string bytes(zeros.size() + 1, 'x');
  std::size_t size = 0;
  for (la_ssize_t count = 1; count > 0; size += static_cast<std::size_t>(count))
    count = reader.read(bytes.data() + size, bytes.size() - size);
  EXPECT_EQ(zeros, bytes.substr(0, size));
  for (const char* const name : {"\xff\xfe", "\xc3\xa4", "last"}) {
    ASSERT_TRUE(reader.next(member)) << reader.fault();
    EXPECT_EQ(name, member.name);
  }
  std::string text;
  EXPECT_TRUE(reader.read_text(text));
  EXPECT_EQ("the end", text);
  EXPECT_EQ(sum, reader.sum_before());
  EXPECT_FALSE(reader.next(member));
  EXPECT_EQ("", reader.fault());
}

TEST_F(ArchiveTest, TellsWhyItCanNotBeWritten) {
  const Descriptor full(open("/dev/full", O_WRONLY | O_CLOEXEC));
  ArchiveWriter writer(full.get());
  EXPECT_FALSE(writer.add_text("a", std::string(1000000, 'x')));
  EXPECT_EQ("No space left on device", writer.fault());
}

}  // namespace
}  // namespace Quarrow::Moving
