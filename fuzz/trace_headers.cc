// The trace lines of a message: those of other servers are found, and ours are put in front and
// told apart from them again. The first line is the sender's path, the second one the recipient's,
// the third one the client's name; the message stands behind the first empty line.
#include "delivery/trace_headers.h"

#include "delivery/header_end.h"
#include "fuzz/expectation.h"
#include "fuzz/input.h"
#include "fuzz/rules.h"
#include "fuzz/target.h"
#include "lmtp/mail_path.h"
#include "system/printable.h"

namespace Quarrow::Fuzz {
namespace {

using namespace Delivery;

void expect_lines(const TraceHeaders& added) {
  expect(added.lines.empty() || added.lines.back() == '\n', "lines are whole");
  for (const std::string& line : lines_of(added.lines)) {
    std::string text = line;
    if (!text.empty() && text.back() == '\r') text.pop_back();
    expect(!text.empty(), "no line ends the header");
    const bool folded = text.front() == ' ' || text.front() == '\t';
    expect(folded || text.find(": ") != std::string::npos, "each line is a header's");
    if (folded) text.front() = ' ';
    expect(!has_control_characters(text), "an address begins no line of its own");
  }
}

// The address that a client gives as `path`, such as <a@example.org>; empty when it is none.
std::string address_of(const std::string& path) {
  const bool is_line = !has_control_characters(path);
  const auto read = is_line ? Lmtp::parse_mail_path("TO:" + path, "TO:") : std::nullopt;
  return read ? read->mailbox : "";
}

void put_in_front(const std::string& input) {
  const Parts mail = parts_of(input, "");
  const std::string& message = mail.second;
  auto lines = lines_of(mail.first);
  lines.resize(3);
  expect_lines(trace_headers(message, {lines[0], lines[1]}));  // those that a program is given
  (void)added_headers_size(message, true);

  const TraceAddresses addresses{address_of(lines[0]), address_of(lines[1])};
  const bool continues_ours = message.find_first_of(" \t") == 0;  // no header begins like that
  if (addresses.recipient.empty() || continues_ours) return;
  const TraceHeaders added =
      trace_headers(message, addresses, {lines[2], "mx.example.org", "LMTP", received_time});
  expect_lines(added);
  const std::string stored = added.lines + message;
  expect(added_headers_size(stored, false) == added.lines.size(), "our lines are told apart");
  const std::string sent_on = "Received: from a by b; Mon, 4 May 2026 12:00:00 +0000\n" + stored;
  expect(trace_headers(sent_on, addresses).is_loop, "a second delivery is a loop");
}

const Target target("trace_headers", put_in_front);

}  // namespace
}  // namespace Quarrow::Fuzz
