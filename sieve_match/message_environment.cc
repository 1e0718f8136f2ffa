// Answers to the interpreter's questions about the script and the message.

#include <strings.h>
#include <zvellparser.h>

#include <cstdlib>
#include <cstring>
#include <ctime>

#include "message_filters/field_names.h"
#include "quarrow/evaluation.h"
#include "sieve_match/interpreter.h"

namespace Quarrow {
namespace {

// The slots of a cached list: local part, domain, user, detail, end. Lists of header values are as
// long, since a header and an address may share a key, and a list of the one kind is then read as
// the other.
constexpr std::size_t list_slots = 5;

char** new_list() { return static_cast<char**>(std::calloc(list_slots, sizeof(char*))); }

void free_list(char** list) {
  // Up to the first empty slot: the texts behind a missing domain stay.
  for (char** text = list; *text != nullptr; ++text) std::free(*text);
  std::free(list);
}

// Cuts `text` before the first `separator`; returns a copy of the text that stood behind it, or
// null when there is no separator.
char* cut_off(char* text, char separator) {
  char* found = std::strchr(text, separator);
  if (found == nullptr) return nullptr;
  *found = '\0';
  return strdup(found + 1);
}

char** split_address(const char* address) {
  char** parts = new_list();
  parts[0] = strdup(address);
  parts[1] = cut_off(parts[0], '@');
  parts[2] = strdup(parts[0]);
  parts[3] = cut_off(parts[2], '+');
  return parts;
}

}  // namespace

bool icaseless::operator()(const std::string& a, const std::string& b) const {
  return strcasecmp(a.c_str(), b.c_str()) < 0;
}

int SieveMatchImpl::GetScript(sieve2_context* ctx) {
  const char* script_path = interpreter::get_string(ctx, "path");
  const char* asked_name = interpreter::get_string(ctx, "name");
  if (script_path == nullptr || asked_name == nullptr) return SIEVE2_ERROR_BADARGS;
  // Only the user's own script is served, which goes by no name.
  if (*script_path != '\0' || *asked_name != '\0') return SIEVE2_ERROR_UNSUPPORTED;
  interpreter::set_string(ctx, "script", script);
  return SIEVE2_OK;
}

int SieveMatchImpl::GetSize(sieve2_context* ctx) {
  interpreter::set_int(ctx, "size", static_cast<int>(message_size));
  return SIEVE2_OK;
}

int SieveMatchImpl::GetHeader(sieve2_context* ctx) {
  const char* header = interpreter::get_string(ctx, "header");
  if (header == nullptr || message == nullptr) return SIEVE2_OK;
  const std::string name = header;
  auto cached = header_cache.find(name);
  if (cached == header_cache.end()) {
    char** values = new_list();
    values[0] = const_cast<char*>(GetHeader(name));
    if (values[0] == nullptr && log) log->Debug("'%s' not defined", header);
    cached = header_cache.emplace(name, values).first;
  }
  interpreter::set_string_list(ctx, "body", cached->second);
  return SIEVE2_OK;
}

int SieveMatchImpl::GetSubAddress(sieve2_context* ctx) {
  const char* address = interpreter::get_string(ctx, "address");
  if (address == nullptr) return SIEVE2_ERROR_UNSUPPORTED;
  const std::string key = std::string("ADDR_") + address;
  auto cached = header_cache.find(key);
  if (cached == header_cache.end())
    cached = header_cache.emplace(key, split_address(address)).first;
  char** parts = cached->second;
  interpreter::set_string(ctx, "localpart", parts[0]);
  interpreter::set_string(ctx, "domain", parts[1]);
  interpreter::set_string(ctx, "user", parts[2]);
  interpreter::set_string(ctx, "detail", parts[3]);
  return SIEVE2_OK;
}

const char* SieveMatchImpl::GetHeader(const std::string& name) {
  const auto proc = header_procs.find(name);
  return proc != header_procs.end() ? (this->*proc->second)(name) : GetMailHeader(name);
}

const char* SieveMatchImpl::GetMailHeader(const std::string& name) {
  if (message == nullptr) return nullptr;
  const Header header = message->headers().find(name);
  if (header.isNull()) return nullptr;
  Buffer text = stringToUtf8(header.value(), nullptr);
  text.append("", 1);
  return strdup(text.data());
}

const char* SieveMatchImpl::GetReceivedDate(const std::string& /*name*/) {
  constexpr std::size_t limit = 16;
  char* date = static_cast<char*>(std::calloc(limit + 1, 1));
  const std::time_t received = received_time;
  std::tm local = {};
  if (localtime_r(&received, &local) == nullptr) local = {};  // a year beyond the calendar
  (void)std::strftime(date, limit, "%Y%m%d", &local);
  return date;
}

void SieveMatchImpl::InitHeaderProcMap() {
  header_procs[FieldNames::received_date] = &SieveMatchImpl::GetReceivedDate;
}

void SieveMatchImpl::ClearCache() {
  for (const auto& entry : header_cache) free_list(entry.second);
  header_cache.clear();
}

}  // namespace Quarrow
