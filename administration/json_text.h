// JSON that others wrote.
#ifndef QUARROW_ADMINISTRATION_JSON_TEXT_H_
#define QUARROW_ADMINISTRATION_JSON_TEXT_H_

#include <nlohmann/json.hpp>
#include <string>

#include "administration/refusal.h"

namespace Quarrow::Administration {

// Reads a text into `json`. Refuses, as wrong_json and with `object`, what is no JSON, with the
// place of the fault; a member that comes twice in one object, of which programs would take one or
// the other; numbers that are too large; and values that stand deeper inside each other than those
// of filters. Texts in `json` are UTF-8.
Refusal read_json_text(const std::string& text, const std::string& object,
                       nlohmann::ordered_json& json);

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_JSON_TEXT_H_
