// Data that a client keeps and gives back: identifiers, and where a list goes on.
#ifndef QUARROW_WEB_API_OPAQUE_TEXT_H_
#define QUARROW_WEB_API_OPAQUE_TEXT_H_

#include <optional>
#include <string>

namespace Quarrow::WebApi {

// Any bytes as a text that may stand in an address: hexadecimal digits.
std::string opaque_text(const std::string& bytes);

// The bytes of a text of opaque_text(); nothing for any other text.
std::optional<std::string> bytes_of_opaque(const std::string& text);

}  // namespace Quarrow::WebApi

#endif  // QUARROW_WEB_API_OPAQUE_TEXT_H_
