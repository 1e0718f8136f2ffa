// A session over a pair of sockets, with clients that are slow.
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <memory>
#include <utility>

#include "http/http_session_test_support.h"
#include "server/connection.h"
#include "system/child_process_test_support.h"
#include "system/file_io.h"

namespace Quarrow::Http {
namespace {

using std::chrono::seconds;

// A client, and a server in a process of its own.
class HttpConnectionTest : public ::testing::Test {
 protected:
  HttpConnectionTest() { (void)socketpair(AF_UNIX, SOCK_STREAM, 0, sockets_.data()); }
  ~HttpConnectionTest() override {
    close(sockets_[0]);
    if (sockets_[1] >= 0) close(sockets_[1]);
  }

  // Serves the client with this patience until the conversation is over.
  void serve(const Server::Patience& patience) {
    server_ = start_child([this, &patience] {
      close(sockets_[0]);
      const Server::StopSignal stop;
      const auto new_session = [](Server::Output output, const Server::OthersWait& others_wait) {
        return std::make_unique<Session>(echo, Limits(), std::move(output), others_wait);
      };
      Server::converse(sockets_[1], new_session, stop, {patience, [] { return false; }});
      return 0;
    });
    close(std::exchange(sockets_[1], -1));
  }

  void say(const std::string& text) const { ASSERT_TRUE(write_all(client(), text)); }

  // Sends the text byte by byte, over and over, until the server answers.
  void drip(const std::string& text) const {
    pollfd polled{client(), POLLIN, 0};
    for (std::size_t at = 0; poll(&polled, 1, 10) == 0; ++at)
      if (!write_all(client(), text.substr(at % text.size(), 1))) return;
  }

  // All that the server sends until it ends.
  std::string heard() const {
    std::string text;
    while (append_from(client(), text) > 0) continue;
    const ProcessEnd end = wait_for(server_);
    EXPECT_EQ(0, end.signal);
    EXPECT_EQ(0, end.status);
    return text;
  }

 private:
  int client() const { return sockets_[0]; }

  std::array<int, 2> sockets_;
  pid_t server_ = -1;
};

TEST_F(HttpConnectionTest, AnswersUntilTheClientCloses) {
  say(get("/1") + "GET /2 HTTP/1.1\r\nHost: x\r\nConnection: close\r\n\r\n");
  serve({});
  const std::string text = heard();
  EXPECT_NE(std::string::npos, text.find("\r\n\r\nGET /1: HTTP/1.1 200 OK\r\n")) << text;
  EXPECT_EQ("GET /2: ", text.substr(text.size() - 8));
}

TEST_F(HttpConnectionTest, LeavesASilentClientWithoutAWord) {
  serve({seconds(0), seconds(60), seconds(60)});
  EXPECT_EQ("", heard());
}

TEST_F(HttpConnectionTest, EndsAClientThatDripsItsHeader) {
  say("GET / HTTP/1.1\r\nHost: x\r\nA: ");
  serve({seconds(60), seconds(1), seconds(60)});
  drip("b");
  EXPECT_EQ("HTTP/1.1 408 Request Timeout\r\n", heard().substr(0, 30));
}

TEST_F(HttpConnectionTest, EndsAClientThatDripsItsBody) {
  say(post("Transfer-Encoding: chunked\r\n", ""));
  serve({seconds(60), seconds(1), seconds(60)});
  drip("1\r\nx\r\n");
  EXPECT_EQ("HTTP/1.1 408 Request Timeout\r\n", heard().substr(0, 30));
}

}  // namespace
}  // namespace Quarrow::Http
