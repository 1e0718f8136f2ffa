// The parts around a session: spool, log, counters, deadlines, sockets, rights.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "lmtp/delivery_record.h"
#include "lmtp/limits.h"
#include "lmtp/message_id.h"
#include "lmtp/reply.h"
#include "lmtp/spool.h"
#include "server/deadline.h"
#include "server/limits.h"
#include "server/listener.h"
#include "server/log.h"
#include "server/metrics.h"
#include "server/privileges.h"
#include "system/descriptor.h"
#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow::Lmtp {
namespace {

using namespace Server;

std::string content_of(const Spool& spool) {
  std::string content(spool.size(), '\0');
  content.resize(static_cast<std::size_t>(pread(spool.fd(), content.data(), content.size(), 0)));
  return content;
}

TEST(Spool, KeepsWhatIsAddedWithoutAName) {
  const TemporaryFolder folder;
  Spool spool(folder.path());
  ASSERT_TRUE(spool.open());
  EXPECT_TRUE(spool.add("one\n", 4));
  EXPECT_TRUE(spool.add("two\n", 4));
  EXPECT_EQ("one\ntwo\n", content_of(spool));
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST(Spool, GivesTheBeginningOfAMessage) {
  const TemporaryFolder folder;
  Spool spool(folder.path());
  EXPECT_EQ("", spool.header());
  ASSERT_TRUE(spool.open() && spool.add("short", 5));
  EXPECT_EQ("short", spool.header());
  const std::string more(most_header, 'x');
  ASSERT_TRUE(spool.add(more.data(), more.size()));
  EXPECT_EQ(("short" + more).substr(0, most_header), spool.header());
}

TEST(Spool, StartsAnew) {
  const TemporaryFolder folder;
  Spool spool(folder.path());
  ASSERT_TRUE(spool.open() && spool.add("one", 3) && spool.open());
  EXPECT_EQ(0U, spool.size());
  EXPECT_EQ("", content_of(spool));
}

TEST(Spool, SaysThatItHasNoPlace) {
  const TemporaryFolder folder;
  Spool spool(folder.file("missing"));
  EXPECT_FALSE(spool.open());
  EXPECT_FALSE(spool.add("x", 1));
}

TEST(Reply, IsOneLine) {
  EXPECT_EQ("250 2.0.0 Done\r\n", reply_line({250, "2.0.0", "Done"}));
  EXPECT_EQ("354 Go\r\n", reply_line({354, "", "Go"}));
  EXPECT_EQ("550 5.7.1 a  b ??\r\n", reply_line({550, "5.7.1", "a\r\nb \xc3\xa4"}));
  EXPECT_EQ(10 + longest_reply_text + 2, reply_line({550, "5.7.1", std::string(9999, 'x')}).size());
}

TEST(Log, WritesADeliveryOnALine) {
  DeliveryRecord record;
  record.user = "a@example.org";
  record.message_id = "<1@example.org>";
  record.rule = "News";
  record.action = "fileinto:Work";
  record.took = std::chrono::milliseconds(3);
  EXPECT_EQ("user=a@example.org msgid=<1@example.org> rule=\"News\" action=fileinto:Work took=3ms",
            log_line(record));
}

TEST(Log, LetsNoTextPassForAnotherField) {
  DeliveryRecord record;
  record.user = "\"a b\"@example.org";
  record.rule = "x\" action=keep\n\\";
  record.action = "fileinto:A B";
  record.note = "no \"room\"";
  EXPECT_EQ(
      "user=\"a\\x20b\"@example.org msgid=<> rule=\"x\\\" action=keep\\x0a\\\\\" "
      "action=fileinto:A\\x20B took=0ms note=\"no \\\"room\\\"\"",
      log_line(record));
}

TEST(MessageId, IsFoundInTheHeaders) {
  const struct {
    std::string message;
    const char* id;
  } cases[] = {
      {"Subject: x\nMessage-ID: <1@x>\n\n", "<1@x>"},
      {"MESSAGE-id:<1@x> (comment)\n\n", "<1@x>"},
      {"Message-ID:\n <1@x>\n\n", "<1@x>"},
      {"Subject: x\n\nMessage-ID: <1@x>\n", ""},
      {"", ""},
  };
  for (const auto& c : cases) EXPECT_EQ(c.id, message_id(c.message)) << c.message;
}

TEST(MessageId, IsCut) {
  EXPECT_EQ(std::string(250, 'x'), message_id("Message-ID: " + std::string(999, 'x')));
}

bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

TEST(Metrics, CountOverProcesses) {
  Metrics metrics;
  metrics.add(Counter::delivered_other);
  const pid_t child = fork();
  if (child == 0) {
    metrics.add(Counter::delivered_other);
    _exit(0);
  }
  int status = 1;
  ASSERT_EQ(child, waitpid(child, &status, 0));
  EXPECT_TRUE(contains(metrics.text(), "\nquarrow_delivered_total{folder=\"other\"} 2\n"));
  EXPECT_TRUE(contains(metrics.text(), "\nquarrow_delivered_total{folder=\"inbox\"} 0\n"));
}

TEST(Metrics, AddUpTheHistogram) {
  using std::chrono::microseconds;
  Metrics metrics;
  for (const int took : {400, 500, 501, 1500000, 99000000})
    metrics.add_evaluation(microseconds(took));
  const std::string text = metrics.text();
  const std::string name = "\nquarrow_evaluation_seconds";
  EXPECT_TRUE(contains(text, name + "_bucket{le=\"0.0005\"} 2\n")) << text;
  EXPECT_TRUE(contains(text, name + "_bucket{le=\"0.001\"} 3\n")) << text;
  EXPECT_TRUE(contains(text, name + "_bucket{le=\"1\"} 3\n")) << text;
  EXPECT_TRUE(contains(text, name + "_bucket{le=\"10\"} 4\n")) << text;
  EXPECT_TRUE(contains(text, name + "_bucket{le=\"+Inf\"} 5\n")) << text;
  EXPECT_TRUE(contains(text, name + "_sum 100.501401\n")) << text;
  EXPECT_TRUE(contains(text, name + "_count 5\n")) << text;
}

TEST(Metrics, ReplaceTheirFile) {
  const TemporaryFolder folder;
  const Metrics metrics;
  const std::string path = folder.write("metrics", "old");
  EXPECT_EQ("", metrics.write(path));
  EXPECT_EQ(metrics.text(), ::content_of(path));
  EXPECT_TRUE(contains(metrics.write(folder.file("missing/metrics")), "No such file"));
}

TEST(Deadline, IsTheEarlierOfSilenceAndNoProgress) {
  const Clock::time_point zero;
  const struct {
    Pace pace;
    std::chrono::seconds want;
  } cases[] = {
      {{zero, zero, false, false}, silence},
      {{zero + silence / 2, zero, false, false}, silence},
      {{zero + silence, zero, true, false}, 2 * silence},
      {{zero + longest_transfer, zero, true, false}, longest_transfer},
      {{zero, zero, true, true}, silence_when_stopping},
  };
  for (const auto& c : cases) EXPECT_EQ(zero + c.want, deadline(c.pace)) << c.want.count();
}

mode_t mode_of(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 ? status.st_mode & 07777U : 0;
}

TEST(Listener, MakesASocketWithItsRights) {
  const TemporaryFolder folder;
  const std::string path = folder.file("socket");
  const Listener listener = listen_at(path, {0620, ""});
  const Descriptor closed(listener.fd);
  EXPECT_EQ("", listener.reason);
  EXPECT_EQ(mode_t{0620}, mode_of(path));
}

TEST(Listener, ReplacesASocketThatNobodyAnswersAt) {
  const TemporaryFolder folder;
  const std::string path = folder.file("socket");
  close(listen_at(path, {}).fd);
  const Descriptor again(listen_at(path, {}).fd);
  EXPECT_LE(0, again.get());
  EXPECT_EQ(path + ": Address already in use", listen_at(path, {}).reason);
}

TEST(Listener, NamesAGroupThatIsNotThere) {
  const TemporaryFolder folder;
  const std::string path = folder.file("socket");
  EXPECT_EQ("no-such-group: there is no such group",
            listen_at(path, {0660, "no-such-group"}).reason);
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(Listener, LeavesOtherFilesAlone) {
  const TemporaryFolder folder;
  const std::string path = folder.write("file", "precious");
  EXPECT_EQ(path + ": Address already in use", listen_at(path, {}).reason);
  EXPECT_EQ("precious", ::content_of(path));
}

TEST(Listener, RefusesAddressesThatOthersReach) {
  for (const char* const address : {"0.0.0.0:2424", "192.0.2.1:24", "[::]:24", "[2001:db8::1]:24"})
    EXPECT_EQ(std::string(address) + ": not an address of this host alone",
              listen_at(address, {}).reason);
  for (const char* const address : {"", "localhost:24", "127.0.0.1", "127.0.0.1:smtp", ":24"})
    EXPECT_NE("", listen_at(address, {}).reason) << address;
}

TEST(Listener, TakesLoopbackAddresses) {
  const Listener listener = listen_at("127.0.0.1:0", {});
  const Descriptor closed(listener.fd);
  EXPECT_EQ("", listener.reason);
  EXPECT_LE(0, listener.fd);
}

TEST(Privileges, RefuseTheSuperuserAndStrangers) {
  EXPECT_EQ("root: the superuser serves nobody", become("root"));
  EXPECT_EQ("no-such-user: there is no such user", become("no-such-user"));
}

}  // namespace
}  // namespace Quarrow::Lmtp
