// Texts in requests to the web server: each line of the input as a target, as cookies, as text that
// a client gives back, as the cursor of a preview, as a revision, and as the client's address.
#include <cstdio>

#include "fuzz/expectation.h"
#include "fuzz/input.h"
#include "fuzz/target.h"
#include "http/cookies.h"
#include "http/target.h"
#include "signing_in/client_network.h"
#include "system/printable.h"
#include "system/utf8.h"
#include "web_api/call.h"
#include "web_api/opaque_text.h"
#include "web_api/preview_progress.h"

namespace Quarrow::Fuzz {
namespace {

std::string percent_encoded(const std::string& text) {
  std::string encoded;
  for (const char c : text) {
    char code[4];
    (void)std::snprintf(code, sizeof code, "%%%02x", static_cast<unsigned char>(c));
    encoded += code;
  }
  return encoded;
}

void expect_text(const std::string& text) {
  expect(is_utf8(text) && !has_control_characters(text), "what is decoded is a text");
}

void try_target(const std::string& line) {
  const auto target = Http::parse_target(line);
  if (!target) return;
  std::string again = target->segments.empty() ? "/" : "";
  for (const std::string& segment : target->segments) {
    expect_text(segment);
    expect(segment != "." && segment != ".." && segment.find_first_of("/\\") == std::string::npos,
           "no segment leads elsewhere");
    again += '/' + percent_encoded(segment);
  }
  char separator = '?';
  for (const auto& [name, value] : target->parameters) {
    expect_text(name);
    expect_text(value);
    again += separator + percent_encoded(name) + '=' + percent_encoded(value);
    separator = '&';
  }
  const auto same = Http::parse_target(again);
  expect(same && same->segments == target->segments && same->parameters == target->parameters,
         "a target that is written anew is the same");
}

void try_cookies(const std::string& line) {
  const auto value = Http::cookie_of({{"cookie", line}}, "session");
  if (!value) return;
  expect(value->find(';') == std::string::npos, "a cookie ends at a semicolon");
  expect(!Http::cookie_of({{"cookie", line}, {"cookie", "session=2"}}, "session"),
         "of two cookies neither counts");
}

void try_opaque(const std::string& line) {
  expect(WebApi::bytes_of_opaque(WebApi::opaque_text(line)) == line, "bytes come back");
  if (const auto bytes = WebApi::bytes_of_opaque(line))
    expect_equal(line, WebApi::opaque_text(*bytes), "there is one text for them");
}

void try_cursor(const std::string& cursor) {
  constexpr std::uint64_t most = 1000;
  WebApi::PreviewProgress progress;
  std::string question;
  if (!WebApi::read_cursor(cursor, most, progress, question)) return;
  for (const std::uint64_t number :
       {progress.examined, progress.caught, progress.changed, progress.failed, progress.examples})
    expect(number <= most, "numbers have a bound");
  const std::string again = cursor_of(progress, question);
  WebApi::PreviewProgress same;
  expect(WebApi::read_cursor(again, most, same, question), "a cursor can be read");
  expect_equal(again, cursor_of(same, question), "and is the same");
}

void try_revision(const std::string& line) {
  Http::Request request;
  request.headers = {{"if-match", line}};
  std::string revision;
  if (!WebApi::read_if_match(request, revision)) return;
  request.headers = {{"if-match", '"' + revision + '"'}};
  std::string again;
  expect(WebApi::read_if_match(request, again), "a revision can be read again");
  expect_equal(revision, again, "and is the same");
}

void try_client(const std::string& line) {
  const std::string network = SigningIn::client_network(line);
  expect_equal(network, SigningIn::client_network(network), "a network is in itself");
}

void try_lines(const std::string& input) {
  for (const std::string& line : lines_of(input)) {
    try_target(line);
    try_cookies(line);
    try_opaque(line);
    try_cursor(line);
    try_cursor(WebApi::opaque_text(line));
    try_revision(line);
    try_client(line);
  }
}

const Target target("web_texts", try_lines);

}  // namespace
}  // namespace Quarrow::Fuzz
