// LMTP from a client: the first line tells how the bytes behind it are cut into blocks.
#include <algorithm>
#include <memory>
#include <optional>

#include "fuzz/expectation.h"
#include "fuzz/input.h"
#include "fuzz/target.h"
#include "lmtp/session_test_support.h"

namespace Quarrow::Fuzz {
namespace {

using namespace Lmtp;

// What comes of a conversation.
struct Outcome {
  std::string replies;
  std::vector<std::string> deliveries;
  bool is_over = false;
};

// Small bounds, so that short inputs pass them.
Limits bounds() {
  Limits limits;
  limits.message = 400;
  limits.line = 80;
  limits.recipients = 3;
  return limits;
}

Outcome talk(const std::vector<std::string>& blocks) {
  TestSession test(bounds());
  test.handler.room = 300;
  test.session.greet();
  for (const std::string& block : blocks) test.say(block);
  Outcome outcome{test.replies, test.handler.deliveries, test.session.is_over()};
  test.session.abandon();
  expect(test.session.is_over() && !test.handler.open, "a client that is gone leaves nothing open");
  expect(test.replies == outcome.replies, "and gets no reply");
  return outcome;
}

void expect_reply_lines(const std::string& replies) {
  expect(replies.empty() || replies.back() == '\n', "replies are whole lines");
  for (const std::string& line : lines_of(replies)) {
    const bool is_printable =
        std::all_of(line.begin(), line.end() - 1, [](char c) { return c >= ' ' && c <= '~'; });
    expect(line.size() > 4 && line.size() < 512 && line.back() == '\r' && is_printable,
           "a reply is a line of RFC 5321");
    expect(line.find_first_not_of("0123456789") == 3 && (line[3] == ' ' || line[3] == '-'),
           "a reply has a code");
  }
}

// The text of a message by RFC 5321, section 4.5.2, with the line ends of files; nothing when
// `data` does not hold its end.
std::optional<std::string> message_in(const std::string& data) {
  const std::string lines = "\r\n" + data;
  const std::size_t end = lines.find("\r\n.\r\n");
  if (end == std::string::npos) return std::nullopt;
  std::string message;
  for (std::size_t start = 2; start < end + 2;) {
    const std::size_t line_end = lines.find("\r\n", start);
    if (lines[start] == '.') ++start;
    message += lines.substr(start, line_end - start) + '\n';
    start = line_end + 2;
  }
  return message;
}

void expect_decoded(const std::string& data, const std::string& pattern) {
  DataDecoder decoder(bounds().line);
  std::string text;
  for (const std::string& block : blocks_of(data, pattern))
    if (!decoder.is_complete()) (void)decoder.decode(block.data(), block.size(), text);
  if (decoder.has_bare_lf()) return;  // the message is refused
  const auto message = message_in(data);
  expect(decoder.is_complete() == message.has_value(), "a message ends where the RFC has it");
  if (message) expect_equal(*message, text, "and its text is the client's");
}

void converse(const std::string& input) {
  const std::size_t end = std::min(input.find('\n'), input.size());
  const std::string pattern = input.substr(0, end);
  const std::string said = input.substr(std::min(end + 1, input.size()));
  if (said.empty()) return;
  expect_decoded(said, pattern);
  const Outcome whole = talk({said});
  expect_reply_lines(whole.replies);
  for (const auto& blocks : {blocks_of(said, pattern), blocks_of(said, "")}) {
    const Outcome cut = talk(blocks);
    expect_equal(whole.replies, cut.replies, "the replies are the same however bytes are cut");
    expect(whole.deliveries == cut.deliveries, "and so are the deliveries");
    expect(whole.is_over == cut.is_over, "and the end");
  }
}

const Target target("lmtp_session", converse);

}  // namespace
}  // namespace Quarrow::Fuzz
