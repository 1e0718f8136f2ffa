// Clients over a socket in the file system, and the process that serves them.
#include "monitoring/brief_clients.h"

#include <gtest/gtest.h>

#include <csignal>
#include <memory>
#include <vector>

#include "monitoring/limits.h"
#include "server/listener.h"
#include "server/local_client_test_support.h"
#include "system/child_process_test_support.h"
#include "system/descriptor.h"
#include "system/file_io.h"
#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow::Monitoring {
namespace {

const std::string get = "GET /path HTTP/1.1\r\nHost: x\r\n\r\n";

class BriefClientsTest : public ::testing::Test {
 protected:
  BriefClientsTest()
      : listener_(Server::listen_at(folder_.file("socket"), {}).fd), process_(start_child([this] {
          const Server::StopSignal stop;
          serve_briefly(
              listener_.get(),
              [](const Http::Request& request) {
                return Http::Response{200, {}, "asked for " + request.target};
              },
              stop);
          return 0;
        })) {}
  ~BriefClientsTest() override {
    (void)kill(process_, SIGKILL);
    (void)wait_for(process_);
  }

  std::unique_ptr<Descriptor> connect() const {
    return std::make_unique<Descriptor>(Server::connect_to(folder_.file("socket")));
  }

  // The status and the body of what is answered up to the end of the connection.
  static std::string heard(const Descriptor& client) {
    std::string text;
    while (append_from(client.get(), text) > 0) continue;
    const std::size_t body = text.find("\r\n\r\n");
    return body == std::string::npos ? text : text.substr(9, 3) + ' ' + text.substr(body + 4);
  }

  std::string said_to(const std::string& request) const {
    const auto client = connect();
    EXPECT_TRUE(write_all(client->get(), request));
    return heard(*client);
  }

  void tell_to_stop() const { (void)kill(process_, SIGTERM); }
  ProcessEnd end() const { return wait_for(process_); }

 private:
  const TemporaryFolder folder_;
  const Descriptor listener_;
  const pid_t process_;
};

TEST_F(BriefClientsTest, AreAnsweredOneRequestEach) {
  EXPECT_EQ("200 asked for /path", said_to(get));
  EXPECT_EQ("200 asked for /path", said_to(get + get));
  EXPECT_EQ("200 asked for /old", said_to("GET /old HTTP/1.0\r\n\r\n"));
}

TEST_F(BriefClientsTest, AreRefusedWhatIsNoRequest) {
  EXPECT_EQ("400", said_to("LHLO x\r\n\r\n").substr(0, 3));
  EXPECT_EQ("431", said_to("GET / HTTP/1.0\r\nx: " + std::string(50000, '.')).substr(0, 3));
}

TEST_F(BriefClientsTest, AreServedBesideThoseThatSayNothing) {
  const auto silent = connect();
  const auto slow = connect();
  ASSERT_TRUE(write_all(slow->get(), "GET /slow HT"));
  EXPECT_EQ("200 asked for /path", said_to(get));
  ASSERT_TRUE(write_all(slow->get(), "TP/1.0\r\n\r\n"));
  EXPECT_EQ("200 asked for /slow", heard(*slow));
}

TEST_F(BriefClientsTest, GoWhenThereAreTooManyTheFirstOneFirst) {
  std::vector<std::unique_ptr<Descriptor>> silent;
  for (std::size_t i = 0; i <= most_clients; ++i) silent.push_back(connect());
  EXPECT_EQ("", heard(*silent.front()));
  ASSERT_TRUE(write_all(silent[1]->get(), get));
  EXPECT_EQ("200 asked for /path", heard(*silent[1]));
}

TEST_F(BriefClientsTest, AreAnsweredThoughAThousandSilentOnesCameBefore) {
  std::vector<std::unique_ptr<Descriptor>> silent;
  for (int i = 0; i < 1000; ++i) silent.push_back(connect());
  EXPECT_EQ("200 asked for /path", said_to(get));
}

TEST_F(BriefClientsTest, GoAfterTheirTime) {
  const auto silent = connect();
  const auto slow = connect();
  ASSERT_TRUE(write_all(slow->get(), "GET /slow HT"));
  EXPECT_EQ("", heard(*silent));
  EXPECT_EQ("408", heard(*slow).substr(0, 3));
}

TEST_F(BriefClientsTest, MayFinishWhenTheServerStops) {
  const auto client = connect();
  ASSERT_TRUE(write_all(client->get(), "GET /last HT"));
  const auto other = connect();
  ASSERT_TRUE(write_all(other->get(), get));  // once this is answered, the first one was taken
  EXPECT_EQ("200 asked for /path", heard(*other));
  tell_to_stop();
  ASSERT_TRUE(write_all(client->get(), "TP/1.0\r\n\r\n"));
  EXPECT_EQ("200 asked for /last", heard(*client));
  EXPECT_EQ(0, end().status);
}

}  // namespace
}  // namespace Quarrow::Monitoring
