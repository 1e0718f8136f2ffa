// A request that has found its resource.
#ifndef QUARROW_WEB_API_CALL_H_
#define QUARROW_WEB_API_CALL_H_

#include <cstdint>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "http/message.h"
#include "web_api/api.h"

namespace Quarrow::WebApi {

struct Call {
  const Context& context;
  std::string item;                          // what stands for {id} or {revision} in the path
  std::map<std::string, std::string> query;  // only names that the resource knows
  nlohmann::ordered_json body;               // null for a resource that takes none
  std::string revision;                      // of If-Match; empty without one
  std::optional<std::string> key = {};       // of Idempotency-Key: the request may be repeated
};

// Puts the revision that a request's If-Match names into `revision`, which is empty without one. A
// tag may be marked as weak: proxies mark those of texts that they compress. False for a header
// that is not one tag, such as "*".
bool read_if_match(const Http::Request& request, std::string& revision);

// Whether that parameter is "true"; nothing for another value than that and "false", its default.
std::optional<bool> flag_of(const Call& call, const std::string& name);

// A number in a body; nothing for what is none of 32 bits.
std::optional<std::int32_t> number_in(const nlohmann::ordered_json& json);

}  // namespace Quarrow::WebApi

#endif  // QUARROW_WEB_API_CALL_H_
