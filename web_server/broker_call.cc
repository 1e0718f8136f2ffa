// Both ends are the same program, and neither believes the other.
#include "web_server/broker_call.h"

#include <utility>

#include "http/response_text.h"
#include "system/packet.h"

namespace Quarrow::WebServer {
namespace {

constexpr auto last_kind = static_cast<std::uint64_t>(Call::Kind::sign_out_everywhere);
constexpr std::uint64_t highest_status = 599;

void write(PacketWriter& writer, const Http::Headers& headers) {
  writer.number(headers.size());
  for (const auto& [name, value] : headers) {
    writer.text(name);
    writer.text(value);
  }
}

// The count needs no limit: reading ends with the packet.
Http::Headers read_headers(PacketReader& reader) {
  Http::Headers headers;
  for (std::uint64_t left = reader.number(); left > 0 && !reader.failed(); --left) {
    std::string name = reader.text();
    headers.emplace_back(std::move(name), reader.text());
  }
  return headers;
}

}  // namespace

std::string encode(const Call& call) {
  PacketWriter writer;
  writer.number(static_cast<std::uint64_t>(call.kind));
  for (const std::string* text :
       {&call.client, &call.proxy_user, &call.session, &call.token, &call.user, &call.password})
    writer.text(*text);
  writer.text(call.request.method);
  writer.text(call.request.target);
  write(writer, call.request.headers);
  writer.text(call.request.body);
  return std::move(writer.packet());
}

std::string encode(const Http::Response& response) {
  PacketWriter writer;
  writer.number(static_cast<std::uint64_t>(response.status));
  write(writer, response.headers);
  writer.text(response.body);
  return std::move(writer.packet());
}

std::optional<Call> decode_call(std::string_view packet) {
  PacketReader reader(packet);
  Call call;
  call.kind = static_cast<Call::Kind>(reader.number(last_kind));
  for (std::string* text :
       {&call.client, &call.proxy_user, &call.session, &call.token, &call.user, &call.password})
    *text = reader.text();
  call.request.method = reader.text();
  call.request.target = reader.text();
  call.request.headers = read_headers(reader);
  call.request.body = reader.text();
  if (!reader.at_end()) return std::nullopt;
  return call;
}

std::optional<Http::Response> decode_response(std::string_view packet) {
  PacketReader reader(packet);
  Http::Response response;
  response.status = static_cast<int>(reader.number(highest_status));
  response.headers = read_headers(reader);
  response.body = reader.text();
  if (!reader.at_end() || !Http::is_sendable(response)) return std::nullopt;
  return response;
}

}  // namespace Quarrow::WebServer
