// Packets that a client keeps.
#include "web_api/preview_progress.h"

#include "system/packet.h"
#include "web_api/opaque_text.h"

namespace Quarrow::WebApi {
namespace {

// More filters than a list can have: see FilterList__::SaveToXML().
constexpr std::uint64_t most_filters = 20000;

}  // namespace

std::string cursor_of(const PreviewProgress& progress, const std::string& question) {
  PacketWriter packet;
  packet.text(question);
  for (const std::uint64_t number :
       {progress.examined, progress.caught, progress.changed, progress.failed, progress.examples})
    packet.number(number);
  packet.number(progress.taken_earlier.size());
  for (const auto& [id, count] : progress.taken_earlier) {
    packet.number(static_cast<std::uint32_t>(id));
    packet.number(count);
  }
  const ListedMessage last = progress.last.value_or(ListedMessage());
  packet.number(static_cast<std::uint64_t>(last.received));
  packet.text(last.unique);
  return opaque_text(packet.packet());
}

bool read_cursor(const std::string& cursor, std::uint64_t most, PreviewProgress& progress,
                 std::string& question) {
  const auto bytes = bytes_of_opaque(cursor);
  if (!bytes) return false;
  PacketReader packet(*bytes);
  question = packet.text();
  for (std::uint64_t* number : {&progress.examined, &progress.caught, &progress.changed,
                                &progress.failed, &progress.examples})
    *number = packet.number(most);
  for (std::uint64_t left = packet.number(most_filters); left > 0 && !packet.failed(); --left) {
    const auto id = static_cast<std::int32_t>(packet.number(UINT32_MAX));
    progress.taken_earlier[id] = packet.number(most);
  }
  ListedMessage last;
  last.received = static_cast<std::time_t>(packet.number());
  last.unique = packet.text();
  progress.last = last;
  return packet.at_end();
}

}  // namespace Quarrow::WebApi
