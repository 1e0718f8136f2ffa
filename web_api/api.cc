// From a request to its resource.
#include "web_api/api.h"

#include <zvelluser.h>

#include <algorithm>
#include <exception>
#include <iterator>
#include <vector>

#include "administration/json_text.h"
#include "administration/refusal.h"
#include "administration/users.h"
#include "http/problem.h"
#include "http/target.h"
#include "web_api/refusal_problem.h"
#include "web_api/resources.h"

namespace Quarrow::WebApi {
namespace {

using Administration::Refusal;
using Segments = std::vector<std::string>;

constexpr std::size_t most_key_bytes = 255;

// One thing that can be done with a resource.
struct Route {
  const char* method;
  Segments path;  // behind /api/v1; "{}" is any item
  Http::Response (*answer)(const Call& call);
  bool takes_body = false;
  std::vector<std::string> parameters = {};
};

// A path with a word in place of "{}" stands in front.
const Route routes[] = {
    {"GET", {"rules"}, list_filters},
    {"POST", {"rules"}, add_filter, true},
    {"PUT", {"rules"}, replace_filters, true},
    {"POST", {"rules", "check"}, check_rule, true},
    {"GET", {"rules", "{}"}, show_filter},
    {"PUT", {"rules", "{}"}, replace_filter, true},
    {"PATCH", {"rules", "{}"}, switch_filter, true},
    {"DELETE", {"rules", "{}"}, remove_filter},
    {"POST", {"rules", "{}", "move"}, move_filter, true},
    {"POST", {"preview"}, preview_filter, true},
    {"GET", {"messages"}, list_messages, false, {"folder", "count", "cursor"}},
    {"GET", {"messages", "{}"}, show_message, false, {"folder"}},
    {"GET", {"messages", "{}", "explanation"}, explain_message, false, {"folder"}},
    {"GET", {"statistics"}, show_statistics, false, {"days"}},
    {"GET", {"fields"}, list_fields},
    {"GET", {"folders"}, list_folders},
    {"GET", {"application"}, show_application},
    {"POST", {"application"}, start_application, true},
    {"POST", {"application", "plan"}, plan_application, true},
    {"POST", {"application", "stop"}, stop_application},
    {"POST", {"application", "undo"}, undo_application},
    {"GET", {"history"}, list_history},
    {"POST", {"history", "undo"}, undo_change},
    {"POST", {"history", "redo"}, redo_change},
    {"POST", {"history", "restore"}, restore_state, true},
    {"GET", {"history", "{}"}, show_state},
    {"GET", {"export"}, export_filters, false, {"form"}},
    {"POST", {"import"}, import_filters, true, {"from", "mode", "dry_run", "accept_loss"}}};

bool matches(const Segments& pattern, const Segments& path) {
  return std::equal(
      pattern.begin(), pattern.end(), path.begin(), path.end(),
      [](const auto& wanted, const auto& given) { return wanted == "{}" || wanted == given; });
}

// The path behind /api/v1; empty for another one.
Segments path_of(const Http::Target& target) {
  const auto& segments = target.segments;
  if (segments.size() < 3 || segments[0] != "api" || segments[1] != "v1") return {};
  return {segments.begin() + 2, segments.end()};
}

// The first pattern that `path` matches; null when there is none.
const Segments* pattern_for(const Segments& path) {
  const auto route = std::find_if(std::begin(routes), std::end(routes),
                                  [&path](const Route& each) { return matches(each.path, path); });
  return route == std::end(routes) ? nullptr : &route->path;
}

Http::Response wrong_method(const Segments& pattern, const std::string& method) {
  std::string allowed;
  for (const Route& route : routes)
    if (route.path == pattern) allowed += (allowed.empty() ? "" : ", ") + std::string(route.method);
  Http::Response response = Http::problem(405, method + " is not for this resource");
  response.headers.emplace_back("allow", allowed);
  return response;
}

// The parameter that can't be taken; empty when all of them can.
std::string take_parameters(const Http::Target& target, const Route& route, Call& call) {
  const auto& known = route.parameters;
  for (const auto& [name, value] : target.parameters)
    if (std::find(known.begin(), known.end(), name) == known.end() ||
        !call.query.emplace(name, value).second)
      return name;
  return "";
}

// Whether a header names JSON, be it with a charset.
bool is_json(const std::string* type) {
  static const std::string wanted = "application/json";
  if (!type) return false;
  std::string word = type->substr(0, type->find_first_of("; \t"));
  std::transform(word.begin(), word.end(), word.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
  return word == wanted;
}

Http::Response answer_by(const Route& route, const Http::Target& target,
                         const Http::Request& request, Call& call) {
  const std::string parameter = take_parameters(target, route, call);
  if (!parameter.empty())
    return Http::problem(400, "a parameter is unknown, or comes twice",
                         {{"", parameter, "unknown, or comes twice"}});
  if (!read_if_match(request, call.revision))
    return Http::problem(400, "If-Match takes one revision, in double quotes");
  if (const std::string* const key = Http::header_of(request.headers, "idempotency-key"))
    call.key = *key;
  if (call.key && (call.key->empty() || call.key->size() > most_key_bytes))
    return Http::problem(400, "Idempotency-Key takes 1 to 255 characters");
  if (route.takes_body) {
    if (!is_json(Http::header_of(request.headers, "content-type")))
      return Http::problem(415, "send a body with Content-Type: application/json");
    if (const Refusal refusal = Administration::read_json_text(request.body, "", call.body))
      return Http::problem(400, refusal.reason, {{"", "", refusal.reason}});
  }
  return route.answer(call);
}

Http::Response route(const Context& context, const Http::Request& request) {
  const auto target = Http::parse_target(request.target);
  if (!target) return Http::problem(400, "this is no address of a resource");
  const Segments path = path_of(*target);
  const Segments* const pattern = path.empty() ? nullptr : pattern_for(path);
  if (!pattern) return Http::problem(404, "there is no such resource");
  const auto found = std::find_if(std::begin(routes), std::end(routes), [&](const Route& each) {
    return each.path == *pattern && each.method == request.method;
  });
  if (found == std::end(routes)) return wrong_method(*pattern, request.method);
  mailuser_set_root(context.root);
  if (const Refusal refusal = Administration::check_known(context.user)) return refused(refusal);
  Call call = {context, path.size() > 1 ? path[1] : "", {}, nullptr, "", std::nullopt};
  return answer_by(*found, *target, request, call);
}

}  // namespace

Http::Response answer(const Context& context, const Http::Request& request) {
  try {
    return route(context, request);
  } catch (const std::exception&) {  // memory, or a library that is missing
    return Http::problem(500, "the request could not be worked on");
  }
}

bool evaluates_mail(const Http::Request& request) {
  const auto begins_with = [&request](const std::string& path) {
    return request.target.compare(0, path.size(), path) == 0;
  };
  return begins_with("/api/v1/preview") || begins_with("/api/v1/messages");
}

}  // namespace Quarrow::WebApi
