// The options of quarrow deliver, and the environment variables that stand in for them.
#ifndef QUARROW_APPS_QUARROW_DELIVERY_OPTIONS_H_
#define QUARROW_APPS_QUARROW_DELIVERY_OPTIONS_H_

#include <cstdint>
#include <optional>
#include <string>

#include "quarrow/delivery/folder_dots.h"

namespace Quarrow::Command {

// As they are given: none, and an empty text, differ.
struct DeliveryOptions {
  std::optional<std::string> user;
  std::optional<std::string> sender;
  std::optional<std::string> original_recipient;
  std::optional<std::string> final_recipient;
  std::string recipient_delimiter = "+";  // each begins the extension of an address
  Delivery::FolderDots folder_dots = Delivery::FolderDots::inbox;
  std::string folder;                                // in UTF-8; "" is the inbox
  std::uint64_t max_size = std::uint64_t{64} << 20;  // of the message, in bytes
  std::uint64_t evaluation_seconds = 2;
  bool report_by_status = false;
  bool require_landlock = false;
  bool keeps_journal = false;
};

// The mail address of the user whose mail it is: the option or USER, with DOMAIN behind a name
// without "@". Empty when a part of it is missing.
std::string user_of(const DeliveryOptions& options);

// The sender for Return-Path, without angle brackets: the option or SENDER. Empty for the sender of
// a bounce, which mail servers name in several ways; none when it is not known.
std::optional<std::string> sender_of(const DeliveryOptions& options);

// The recipient for Delivered-To: the first that is not empty of the final and the original one,
// RECIPIENT, ORIGINAL_RECIPIENT, and `user`.
std::string recipient_of(const DeliveryOptions& options, const std::string& user);

}  // namespace Quarrow::Command

#endif  // QUARROW_APPS_QUARROW_DELIVERY_OPTIONS_H_
