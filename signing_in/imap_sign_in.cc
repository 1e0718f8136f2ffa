// libcurl's IMAP: a connection, a sign-in by SASL PLAIN, NOOP.
#include "signing_in/imap_sign_in.h"

#include <curl/curl.h>

#include <array>
#include <memory>
#include <string_view>

#include "host/zvellparser/ascii_case.h"
#include "system/printable.h"

namespace Quarrow::SigningIn {
namespace {

using Result = PasswordVerdict::Result;

struct CurlCleanup {
  void operator()(CURL* curl) const { curl_easy_cleanup(curl); }
};
using Curl = std::unique_ptr<CURL, CurlCleanup>;

struct UrlCleanup {
  void operator()(CURLU* url) const { curl_url_cleanup(url); }
};
using Url = std::unique_ptr<CURLU, UrlCleanup>;

struct TextFree {
  void operator()(char* text) const { curl_free(text); }
};

// What the server said, as far as it matters.
struct Conversation {
  bool is_signed_in_already = false;  // by its greeting, whatever the password is
  bool said_no = false;
  bool is_unavailable = false;  // it said no for a reason of its own (RFC 5530)
};

bool contains(std::string_view line, std::string_view word) {
  for (std::size_t i = 0; i + word.size() <= line.size(); ++i)
    if (zvellparser::equal_ignoring_case(line.substr(i, word.size()), word)) return true;
  return false;
}

// The answer in a line: PREAUTH in "* PREAUTH", NO in "A001 NO". Empty where there is none.
std::string_view answer_in(std::string_view line) {
  const std::size_t begin = line.find(' ');
  if (begin == std::string_view::npos) return {};
  line.remove_prefix(begin + 1);
  return line.substr(0, line.find_first_of(" \r\n"));
}

// A line of the server, from libcurl.
std::size_t note_line(char* data, std::size_t size, std::size_t count, void* conversation) {
  auto& known = *static_cast<Conversation*>(conversation);
  const std::string_view line(data, size * count);
  const std::string_view answer = answer_in(line);
  const bool is_tagged = !line.empty() && line[0] != '*' && line[0] != '+';
  if (zvellparser::equal_ignoring_case(answer, "PREAUTH")) known.is_signed_in_already = true;
  if (is_tagged && zvellparser::equal_ignoring_case(answer, "NO")) {
    known.said_no = true;
    known.is_unavailable = known.is_unavailable || contains(line, "[UNAVAILABLE]");
  }
  return line.size();
}

std::size_t ignore_data(char*, std::size_t size, std::size_t count, void*) { return size * count; }

// Says what to do. False when libcurl refuses a part of it.
bool set_up(CURL* curl, const ImapServer& server, const std::string& user,
            const std::string& password) {
  bool is_good = true;
  const auto set = [curl, &is_good](CURLoption option, auto value) {
    is_good = curl_easy_setopt(curl, option, value) == CURLE_OK && is_good;
  };
  const long patience = static_cast<long>(server.patience.count());
  set(CURLOPT_URL, server.url.c_str());
  set(CURLOPT_PROTOCOLS_STR, "imap,imaps");
  set(CURLOPT_PROXY, "");  // whatever the environment says
  set(CURLOPT_NOSIGNAL, 1L);
  set(CURLOPT_CONNECTTIMEOUT_MS, patience);
  set(CURLOPT_TIMEOUT_MS, patience);
  set(CURLOPT_USE_SSL, static_cast<long>(CURLUSESSL_ALL));
  set(CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
  if (!server.ca_file.empty()) {
    set(CURLOPT_CAINFO, server.ca_file.c_str());
    set(CURLOPT_CAPATH, static_cast<const char*>(nullptr));  // no others
  }
  set(CURLOPT_USERNAME, user.c_str());
  set(CURLOPT_PASSWORD, password.c_str());
  set(CURLOPT_LOGIN_OPTIONS, "AUTH=PLAIN");
  set(CURLOPT_CUSTOMREQUEST, "NOOP");
  set(CURLOPT_WRITEFUNCTION, &ignore_data);
  return is_good;
}

PasswordVerdict unavailable(const ImapServer& server, const std::string& reason) {
  return {Result::unavailable, server.url + ": " + shortened(printable(reason))};
}

PasswordVerdict verdict_of(CURLcode code, const Conversation& said, const std::string& error,
                           const ImapServer& server) {
  if (said.is_signed_in_already)
    return unavailable(server, "the server asks for no password (PREAUTH)");
  if (code == CURLE_OK) return {Result::right, ""};
  if (code != CURLE_LOGIN_DENIED) return unavailable(server, error);
  if (said.is_unavailable) return unavailable(server, "nobody can sign in now (UNAVAILABLE)");
  if (said.said_no) return {Result::wrong, ""};
  return unavailable(server, "the server does not offer to sign in by AUTH=PLAIN");
}

// Whether a user or a password may be sent.
// Servers give up at lines of a few thousand bytes, and nobody types this much.
constexpr std::size_t longest_text = 1024;

bool is_sendable(const std::string& text) {
  return !text.empty() && text.size() <= longest_text && !has_control_characters(text);
}

// A part of the URL; empty where it has none.
std::string part_of(CURLU* url, CURLUPart part) {
  char* found = nullptr;
  if (curl_url_get(url, part, &found, 0) != CURLUE_OK) return "";
  const std::unique_ptr<char, TextFree> text(found);
  return text.get();
}

}  // namespace

std::string server_fault(const std::string& text) {
  const Url url(curl_url());
  if (!url || curl_url_set(url.get(), CURLUPART_URL, text.c_str(), 0) != CURLUE_OK)
    return "not a URL";
  const std::string scheme = part_of(url.get(), CURLUPART_SCHEME);
  if (scheme != "imap" && scheme != "imaps") return "neither imaps:// nor imap://";
  const std::string path = part_of(url.get(), CURLUPART_PATH);
  for (const CURLUPart part :
       {CURLUPART_USER, CURLUPART_PASSWORD, CURLUPART_OPTIONS, CURLUPART_QUERY, CURLUPART_FRAGMENT})
    if (!part_of(url.get(), part).empty()) return "more than a host and a port";
  return path.empty() || path == "/" ? "" : "more than a host and a port";
}

PasswordVerdict imap_sign_in(const ImapServer& server, const std::string& user,
                             const std::string& password) {
  if (!is_sendable(user) || !is_sendable(password)) return {Result::wrong, ""};
  if (curl_global_init(CURL_GLOBAL_DEFAULT) != CURLE_OK)
    return unavailable(server, "libcurl can't be used");
  const Curl curl(curl_easy_init());
  std::array<char, CURL_ERROR_SIZE> error{};
  Conversation said;
  if (!curl || !set_up(curl.get(), server, user, password) ||
      curl_easy_setopt(curl.get(), CURLOPT_ERRORBUFFER, error.data()) != CURLE_OK ||
      curl_easy_setopt(curl.get(), CURLOPT_HEADERFUNCTION, &note_line) != CURLE_OK ||
      curl_easy_setopt(curl.get(), CURLOPT_HEADERDATA, &said) != CURLE_OK)
    return unavailable(server, "libcurl can't be set up");
  const CURLcode code = curl_easy_perform(curl.get());
  return verdict_of(code, said, error[0] != 0 ? error.data() : curl_easy_strerror(code), server);
}

}  // namespace Quarrow::SigningIn
