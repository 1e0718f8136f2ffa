// From options and the environment to addresses.
#include "apps/quarrow/delivery_options.h"

#include <cstdlib>

namespace Quarrow::Command {
namespace {

std::optional<std::string> environment(const char* name) {
  const char* const value = std::getenv(name);
  if (value == nullptr) return std::nullopt;
  return value;
}

}  // namespace

std::string user_of(const DeliveryOptions& options) {
  std::string user = options.user ? *options.user : environment("USER").value_or("");
  if (user.find('@') == std::string::npos) user += '@' + environment("DOMAIN").value_or("");
  return user.front() == '@' || user.back() == '@' ? "" : user;
}

std::optional<std::string> sender_of(const DeliveryOptions& options) {
  auto sender = options.sender ? options.sender : environment("SENDER");
  if (!sender) return sender;
  if (sender->size() >= 2 && sender->front() == '<' && sender->back() == '>')
    sender = sender->substr(1, sender->size() - 2);
  return *sender == "MAILER-DAEMON" ? "" : sender;
}

std::string recipient_of(const DeliveryOptions& options, const std::string& user) {
  for (const auto& each : {options.final_recipient, options.original_recipient,
                           environment("RECIPIENT"), environment("ORIGINAL_RECIPIENT")})
    if (each && !each->empty()) return *each;
  return user;
}

}  // namespace Quarrow::Command
