// libcurl's IMAP: a connection, a sign-in by SASL PLAIN, NOOP.
#include "signing_in/imap_sign_in.h"

#include <curl/curl.h>

#include <array>
#include <memory>
#include <regex>
#include <string_view>

#include "host/zvellparser/ascii_case.h"
#include "system/loaded_library.h"
#include "system/printable.h"

namespace Quarrow::SigningIn {
namespace {

using Result = PasswordVerdict::Result;

// The functions that are used of libcurl. It brings forty libraries along, which would make each
// fork of a process slower that has no use for them.
struct Functions {
  const LoadedLibrary library{"libcurl.so.4"};
  decltype(&curl_global_init) const global_init = library["curl_global_init"];
  decltype(&curl_easy_init) const init = library["curl_easy_init"];
  decltype(&curl_easy_setopt) const set_option = library["curl_easy_setopt"];
  decltype(&curl_easy_perform) const perform = library["curl_easy_perform"];
  decltype(&curl_easy_strerror) const text_of = library["curl_easy_strerror"];
  decltype(&curl_easy_cleanup) const clean_up = library["curl_easy_cleanup"];
};

// Throws std::runtime_error when libcurl is not there.
const Functions& libcurl() {
  static const Functions functions;
  return functions;
}

struct CurlCleanup {
  void operator()(CURL* curl) const { libcurl().clean_up(curl); }
};
using Curl = std::unique_ptr<CURL, CurlCleanup>;

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
    is_good = libcurl().set_option(curl, option, value) == CURLE_OK && is_good;
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

// Servers give up at lines of a few thousand bytes, and nobody types this much.
constexpr std::size_t longest_text = 1024;

// Whether a user or a password may be sent.
bool is_sendable(const std::string& text) {
  return !text.empty() && text.size() <= longest_text && !has_control_characters(text);
}

}  // namespace

std::string server_fault(const std::string& text) {
  static const std::regex url("([A-Za-z]+)://([^/?#]*)(.*)");
  static const std::regex place(R"((\[[0-9A-Fa-f:.]+\]|[A-Za-z0-9._-]+)(:\d{1,5})?)");
  constexpr int highest_port = 65535;
  std::smatch parts;
  if (!std::regex_match(text, parts, url)) return "not a URL";
  const std::string scheme = parts[1];
  const std::string authority = parts[2];
  const std::string path = parts[3];
  if (!zvellparser::equal_ignoring_case(scheme, "imap") &&
      !zvellparser::equal_ignoring_case(scheme, "imaps"))
    return "neither imaps:// nor imap://";
  if (authority.find('@') != std::string::npos || (!path.empty() && path != "/"))
    return "more than a host and a port";
  if (!std::regex_match(authority, parts, place)) return "not a URL";
  const std::string port = parts[2];
  return port.empty() || std::stoi(port.substr(1)) <= highest_port ? "" : "not a URL";
}

void prepare_for_imap() { (void)libcurl(); }

PasswordVerdict imap_sign_in(const ImapServer& server, const std::string& user,
                             const std::string& password) {
  if (!is_sendable(user) || !is_sendable(password)) return {Result::wrong, ""};
  if (libcurl().global_init(CURL_GLOBAL_DEFAULT) != CURLE_OK)
    return unavailable(server, "libcurl can't be used");
  const Curl curl(libcurl().init());
  std::array<char, CURL_ERROR_SIZE> error{};
  Conversation said;
  if (!curl || !set_up(curl.get(), server, user, password) ||
      libcurl().set_option(curl.get(), CURLOPT_ERRORBUFFER, error.data()) != CURLE_OK ||
      libcurl().set_option(curl.get(), CURLOPT_HEADERFUNCTION, &note_line) != CURLE_OK ||
      libcurl().set_option(curl.get(), CURLOPT_HEADERDATA, &said) != CURLE_OK)
    return unavailable(server, "libcurl can't be set up");
  const CURLcode code = libcurl().perform(curl.get());
  return verdict_of(code, said, error[0] != 0 ? error.data() : libcurl().text_of(code), server);
}

}  // namespace Quarrow::SigningIn
