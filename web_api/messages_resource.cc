// The messages of a folder.
#include "system/packet.h"
#include "web_api/filter_view.h"
#include "web_api/mail_work.h"
#include "web_api/message_view.h"
#include "web_api/opaque_text.h"
#include "web_api/resources.h"

namespace Quarrow::WebApi {
namespace {

using nlohmann::ordered_json;

constexpr std::uint32_t usual_count = 50;
constexpr std::uint32_t most_count = 200;

std::string cursor_of(const ListedMessage& message) {
  PacketWriter packet;
  packet.number(static_cast<std::uint64_t>(message.received));
  packet.text(message.unique);
  return opaque_text(packet.packet());
}

std::optional<ListedMessage> message_of_cursor(const std::string& cursor) {
  const auto bytes = bytes_of_opaque(cursor);
  if (!bytes) return std::nullopt;
  PacketReader packet(*bytes);
  ListedMessage message;
  message.received = static_cast<std::time_t>(packet.number());
  message.unique = packet.text();
  if (!packet.at_end()) return std::nullopt;
  return message;
}

ordered_json views_of(const std::vector<ListedMessage>& messages, MailListing& listing) {
  ordered_json views = ordered_json::array();
  if (messages.empty()) return views;
  Trial::IsolatedRuns runs;
  for (const auto& message : messages) {
    OpenedMessage opened;
    if (listing.open(message, opened) == Opening::gone) continue;
    views.push_back(view_of(message, opened, listing, runs));
  }
  return views;
}

}  // namespace

Http::Response list_messages(const Call& call) {
  const std::string folder = parameter_of(call, "folder", inbox);
  const auto count = number_of(call, "count", usual_count, most_count);
  if (!count)
    return wrong_parameter("count", "must be a number from 1 to " + std::to_string(most_count));
  const std::string cursor = parameter_of(call, "cursor", "");
  const auto behind = cursor.empty() ? std::nullopt : message_of_cursor(cursor);
  if (!cursor.empty() && !behind) return wrong_parameter("cursor", "this is no cursor");
  return with_mail(call, folder, [&](MailListing& listing) {
    // one more, to know whether there is a next request
    auto messages = listing.newest(behind, std::size_t{*count} + 1);
    const bool is_done = messages.size() <= *count;
    if (!is_done) messages.pop_back();
    return json_answer(
        200, {{"folder", folder},
              {"total", listing.total()},
              {"messages", views_of(messages, listing)},
              {"cursor", is_done ? ordered_json() : ordered_json(cursor_of(messages.back()))}});
  });
}

Http::Response show_message(const Call& call) {
  const auto unique = bytes_of_opaque(call.item);
  if (!unique) return no_message();
  return with_mail(call, parameter_of(call, "folder", inbox), [&](MailListing& listing) {
    const auto message = listing.find(*unique);
    OpenedMessage opened;
    if (!message || listing.open(*message, opened) == Opening::gone) return no_message();
    Trial::IsolatedRuns runs;
    return json_answer(200, view_of(*message, opened, listing, runs));
  });
}

}  // namespace Quarrow::WebApi
