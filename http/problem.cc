// Problems as JSON.
#include "http/problem.h"

#include <nlohmann/json.hpp>

#include "http/status.h"

namespace Quarrow::Http {
namespace {

using nlohmann::ordered_json;

ordered_json errors_of(const std::vector<Mistake>& mistakes) {
  ordered_json errors = ordered_json::array();
  for (const auto& mistake : mistakes) {
    ordered_json error;
    if (mistake.parameter.empty())
      error["pointer"] = mistake.pointer;
    else
      error["parameter"] = mistake.parameter;
    error["detail"] = mistake.detail;
    errors.push_back(std::move(error));
  }
  return errors;
}

}  // namespace

Response problem(int status, const std::string& detail, const std::vector<Mistake>& mistakes) {
  if (mistakes.empty()) return problem_with(status, detail, ordered_json::object());
  return problem_with(status, detail, ordered_json{{"errors", errors_of(mistakes)}});
}

std::string problem_type(const std::string& kind) { return "urn:quarrow:problem:" + kind; }

Response problem_with(int status, const std::string& detail, const ordered_json& members) {
  ordered_json body = {{"type", "about:blank"},
                       {"title", status_name(status)},
                       {"status", status},
                       {"detail", detail}};
  body.update(members);
  return {status,
          {{"content-type", "application/problem+json"}},
          body.dump(-1, ' ', false, ordered_json::error_handler_t::replace) + '\n'};
}

}  // namespace Quarrow::Http
