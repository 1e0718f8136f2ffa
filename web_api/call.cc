// Headers and parameters.
#include "web_api/call.h"

namespace Quarrow::WebApi {

bool read_if_match(const Http::Request& request, std::string& revision) {
  const std::string* const header = Http::header_of(request.headers, "if-match");
  if (!header) return true;
  const std::size_t begin = header->compare(0, 2, "W/") == 0 ? 3 : 1;
  if (header->size() < begin + 2 || (*header)[begin - 1] != '"' || header->back() != '"')
    return false;
  const std::string tag = header->substr(begin, header->size() - begin - 1);
  if (tag.find('"') != std::string::npos) return false;
  revision = tag;
  return true;
}

std::optional<bool> flag_of(const Call& call, const std::string& name) {
  const auto found = call.query.find(name);
  if (found == call.query.end() || found->second == "false") return false;
  if (found->second == "true") return true;
  return std::nullopt;
}

std::optional<std::int32_t> number_in(const nlohmann::ordered_json& json) {
  if (!json.is_number_integer()) return std::nullopt;
  const auto number = json.get<std::int64_t>();
  const auto narrow = static_cast<std::int32_t>(number);
  if (narrow != number || json.is_number_unsigned() != (number >= 0)) return std::nullopt;
  return narrow;
}

}  // namespace Quarrow::WebApi
