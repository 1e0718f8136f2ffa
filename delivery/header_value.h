// What rules see of a header, in a helper process.
#ifndef QUARROW_DELIVERY_HEADER_VALUE_H_
#define QUARROW_DELIVERY_HEADER_VALUE_H_

#include <cstdint>
#include <optional>
#include <string>

namespace Quarrow::Delivery {

// The value that the interpreter is given for the header `name` of a message with the header block
// `header`, which was received at `received`, in seconds since the epoch: decoded, in UTF-8, no
// longer than 65536 bytes. Nothing when there is no such header.
std::optional<std::string> header_value(const std::string& name, const std::string& header,
                                        std::int64_t received);

}  // namespace Quarrow::Delivery

#endif  // QUARROW_DELIVERY_HEADER_VALUE_H_
