// Answers as packets.
#include "web_api/guarded_answer.h"

#include <string>
#include <utility>

#include "system/packet.h"
#include "web_api/refusal_problem.h"

namespace Quarrow::WebApi {
namespace {

std::string packed(const Http::Response& response) {
  PacketWriter writer;
  writer.number(static_cast<std::uint64_t>(response.status));
  writer.number(response.headers.size());
  for (const auto& header : response.headers) {
    writer.text(header.first);
    writer.text(header.second);
  }
  writer.text(response.body);
  return std::move(writer.packet());
}

// The sender is this program, so that the packet is whole.
Http::Response unpacked(const std::string& packet) {
  PacketReader reader(packet);
  Http::Response response;
  response.status = static_cast<int>(reader.number());
  response.headers.resize(reader.number(packet.size()));
  for (auto& header : response.headers) {
    header.first = reader.text();
    header.second = reader.text();
  }
  response.body = reader.text();
  return response;
}

}  // namespace

Administration::GuardedOutcome guarded(const Http::Response& response) {
  return {{}, packed(response)};
}

Http::Response answer_of(const Administration::GuardedOutcome& outcome) {
  return outcome.refusal ? refused(outcome.refusal) : unpacked(outcome.answer);
}

}  // namespace Quarrow::WebApi
