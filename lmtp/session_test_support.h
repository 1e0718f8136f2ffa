// A session with users and a mailbox in memory.
#ifndef QUARROW_LMTP_SESSION_TEST_SUPPORT_H_
#define QUARROW_LMTP_SESSION_TEST_SUPPORT_H_

#include <algorithm>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "lmtp/session.h"
#include "tests/support/repeated_test_support.h"

namespace Quarrow::Lmtp {

// What a client says first, in front of its recipients, and in front of the message.
inline const std::string hello = "LHLO client.example.org\r\n";
inline const std::string start = hello + "MAIL FROM:<s@example.net>\r\n";
inline const std::string ready = start + "RCPT TO:<a@example.org>\r\nDATA\r\n";

// Knows every user at example.org but "nobody", "later" (try again) and "full" (delivery fails);
// "refuses" rejects by a rule. "A" is another spelling of "a".
class MemoryHandler : public Handler {
 public:
  Reply check_recipient(const std::string& recipient) override {
    if (recipient == "nobody@example.org") return {550, "5.1.1", "unknown"};
    if (recipient == "later@example.org") return {451, "4.3.0", "later"};
    return {250, "2.1.5", "ok"};
  }
  std::string spelling_of(const std::string& recipient) const override {
    return recipient == "A@example.org" ? "a@example.org" : recipient;
  }
  bool open_message() override {
    message.clear();
    open = has_room;
    return has_room;
  }
  bool add(const char* data, std::size_t size) override {
    if (message.size() + size > room) return false;
    message.append(data, size);
    most_at_a_time = std::max(most_at_a_time, size);
    return true;
  }
  Reply deliver(const Envelope& envelope, const std::string& recipient) override {
    deliveries.push_back(envelope.sender + " to " + recipient + ": " + message);
    if (recipient == "full@example.org") return {451, "4.3.0", "full"};
    if (recipient == "refuses@example.org") return {550, "5.7.1", "go\r\n250 away"};
    return {250, "2.0.0", "done"};
  }
  void close_message() override { open = false; }

  bool has_room = true;            // for another message
  std::size_t room = SIZE_MAX;     // bytes
  std::size_t most_at_a_time = 0;  // of a call of add
  bool open = false;
  std::string message;
  std::vector<std::string> deliveries;
};

// Runs a session. Its replies are in `replies`, and `codes` gives them in short.
class TestSession {
 public:
  explicit TestSession(const Limits& limits = Limits())
      : TestSession(std::make_unique<MemoryHandler>(), limits) {}

  void say(const std::string& text) { session.take(text.data(), text.size()); }

  // "250 2.1.0" for each reply, separated by commas; lines that others follow (250-) are left out.
  std::string codes() const {
    std::string out;
    std::istringstream lines(replies);
    for (std::string line; std::getline(lines, line);) {
      if (line.size() > 3 && line[3] == '-') continue;
      const bool enhanced = line.size() > 5 && line[5] == '.';
      out += (out.empty() ? "" : ", ") + line.substr(0, enhanced ? 9 : 3);
    }
    return out;
  }

  MemoryHandler& handler;  // the session's
  bool connected = true;
  std::string replies;
  Session session;

 private:
  TestSession(std::unique_ptr<MemoryHandler> own, const Limits& limits)
      : handler(*own),
        session(std::move(own), limits, "mx.example.org", [this](const std::string& text) {
          if (!connected) return false;
          replies += text;
          return true;
        }) {}
};

}  // namespace Quarrow::Lmtp

#endif  // QUARROW_LMTP_SESSION_TEST_SUPPORT_H_
