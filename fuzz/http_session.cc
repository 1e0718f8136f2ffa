// HTTP from a client: the first line tells how the bytes behind it are cut into blocks.
#include <algorithm>
#include <set>

#include "fuzz/expectation.h"
#include "fuzz/input.h"
#include "fuzz/target.h"
#include "http/characters.h"
#include "http/http_session_test_support.h"
#include "http/target.h"

namespace Quarrow::Fuzz {
namespace {

using namespace Http;

// Small bounds, so that short inputs pass them.
Limits bounds() {
  Limits limits;
  limits.header = 400;
  limits.target = 100;
  limits.headers = 6;
  limits.body = 200;
  limits.requests = 5;
  return limits;
}

void expect_request(const Request& request) {
  static const std::set<std::string> methods = {"GET", "POST", "PUT", "PATCH", "DELETE", "OPTIONS"};
  expect(methods.count(request.method) == 1, "methods are known");
  expect(parse_target(request.target).has_value(), "targets lead to where they seem to");
  expect(request.body.size() <= bounds().body, "bodies have a bound");
  for (const auto& [name, value] : request.headers) {
    expect(is_token(name) && is_header_value(value), "headers have names and values");
    const bool is_small =
        std::none_of(name.begin(), name.end(), [](char c) { return c >= 'A' && c <= 'Z'; });
    expect(is_small, "names are in small letters");
  }
}

// An answer is framed as it says: its header ends once, and its length is that of what follows.
void expect_answer(const std::string& answer) {
  expect(answer.compare(0, 9, "HTTP/1.1 ") == 0, "an answer has a status");
  const std::size_t end = answer.find("\r\n\r\n");
  expect(end != std::string::npos, "its header ends");
  const std::string header = answer.substr(0, end + 2);
  const std::string body = answer.substr(end + 4);
  const std::string length = "\r\ncontent-length: " + std::to_string(body.size()) + "\r\n";
  expect(body.empty() || header.find(length) != std::string::npos, "its length is told");
  expect(std::count(header.begin(), header.end(), '\n') ==
             std::count(header.begin(), header.end(), '\r'),
         "its lines end as they should");
}

struct Outcome {
  std::vector<std::string> answers;
  bool is_over = false;
};

Outcome talk(const std::vector<std::string>& blocks) {
  TestSession test(bounds());
  for (const std::string& block : blocks) test.say(block);
  for (const Request& request : test.requests) expect_request(request);
  const Outcome outcome{test.answers, test.session.is_over()};
  test.session.abandon();
  expect(test.session.is_over(), "a client that is gone ends the session");
  return outcome;
}

void converse(const std::string& input) {
  const std::size_t end = std::min(input.find('\n'), input.size());
  const std::string pattern = input.substr(0, end);
  const std::string said = input.substr(std::min(end + 1, input.size()));
  if (said.empty()) return;
  const Outcome whole = talk({said});
  for (const std::string& answer : whole.answers) expect_answer(answer);
  for (const auto& blocks : {blocks_of(said, pattern), blocks_of(said, "")}) {
    const Outcome cut = talk(blocks);
    expect(whole.answers == cut.answers, "the answers are the same however bytes are cut");
    expect(whole.is_over == cut.is_over, "and so is the end");
  }
}

const Target target("http_session", converse);

}  // namespace
}  // namespace Quarrow::Fuzz
