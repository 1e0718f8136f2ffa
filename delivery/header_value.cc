// The message environment, asked as the interpreter asks it.
#include "delivery/header_value.h"

#include <quarrow/evaluation.h>
#include <zvellparser.h>

#include <cstdlib>

namespace Quarrow::Delivery {

std::optional<std::string> header_value(const std::string& name, const std::string& header,
                                        std::int64_t received) {
  const auto message = MimePart::parse(header.data(), header.size());
  SieveMatchImpl environment("", nullptr);
  environment.message = message.get();
  environment.received_time = received;
  const char* const value = environment.GetHeader(name);
  if (value == nullptr) return std::nullopt;
  std::string text = value;
  std::free(const_cast<char*>(value));
  return text;
}

}  // namespace Quarrow::Delivery
