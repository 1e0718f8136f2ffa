// What a worker of the web server makes of requests, and hands on to the broker.
#include "web_server/front.h"

#include "fuzz/expectation.h"
#include "fuzz/target.h"
#include "http/http_session_test_support.h"
#include "http/response_text.h"
#include "web_server/broker_call.h"

namespace Quarrow::Fuzz {
namespace {

using namespace WebServer;

// The broker gets what the worker means, and another site's page comes to nothing.
Http::Response pass(const Call& call) {
  const auto received = decode_call(encode(call));
  expect(received.has_value(), "a call can be read");
  expect_equal(encode(call), encode(*received), "and is the same");
  const std::string* const site = Http::header_of(call.request.headers, "sec-fetch-site");
  expect(site == nullptr || *site == "same-origin" || *site == "none", "another site asks nothing");
  return {200, {}, "asked"};
}

void ask(const std::string& said) {
  static const PageFiles no_page;
  if (said.empty()) return;
  for (const bool trusts_proxy_user : {false, true}) {
    const Front front(pass, trusts_proxy_user, no_page);
    Http::TestSession test(Http::Limits(), [&front](const Http::Request& request) {
      Http::Response response = front.answer(request);
      expect(is_sendable(response), "an answer can be sent");
      return response;
    });
    test.say(said);
  }
}

const Target target("web_front", ask);

}  // namespace
}  // namespace Quarrow::Fuzz
