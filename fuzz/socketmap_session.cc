// Requests of a mail server for users' homes: the first line tells how the bytes behind it are cut
// into blocks.
#include <algorithm>
#include <string>
#include <vector>

#include "fuzz/expectation.h"
#include "fuzz/input.h"
#include "fuzz/target.h"
#include "homes/limits.h"
#include "homes/socketmap_session_test_support.h"

namespace Quarrow::Fuzz {
namespace {

using namespace Homes;

// What comes of a conversation.
struct Outcome {
  std::vector<std::string> requests;
  std::string replies;
  bool is_over = false;
};

Outcome talk(const std::vector<std::string>& blocks) {
  TestSocketmap test;
  for (const std::string& block : blocks) test.say(block);
  expect(test.session.steps() == test.requests.size(), "a request is a step");
  return {test.requests, test.replies, test.session.is_over()};
}

// What a client sends for its requests, and what it gets.
void expect_framed(const std::string& said, const Outcome& outcome) {
  std::string requests;
  std::string replies;
  for (const std::string& request : outcome.requests) {
    expect(request.size() <= longest_request, "a request has a bound");
    requests += netstring(request);
    replies += netstring("OK " + request);
  }
  expect(said.compare(0, requests.size(), requests) == 0, "requests are those that were said");
  expect_equal(replies, outcome.replies, "each gets its reply");
}

void converse(const std::string& input) {
  const std::size_t end = std::min(input.find('\n'), input.size());
  const std::string pattern = input.substr(0, end);
  const std::string said = input.substr(std::min(end + 1, input.size()));
  if (said.empty()) return;
  const Outcome whole = talk({said});
  expect_framed(said, whole);
  for (const auto& blocks : {blocks_of(said, pattern), blocks_of(said, "")}) {
    const Outcome cut = talk(blocks);
    expect_equal(whole.replies, cut.replies, "the replies are the same however bytes are cut");
    expect(whole.is_over == cut.is_over, "and so is the end");
  }
}

const Target target("socketmap_session", converse);

}  // namespace
}  // namespace Quarrow::Fuzz
