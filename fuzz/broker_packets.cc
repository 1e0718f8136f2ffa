// Packets between the workers of the web server, its broker and the broker's children.
#include "fuzz/expectation.h"
#include "fuzz/target.h"
#include "http/response_text.h"
#include "web_server/broker_call.h"

namespace Quarrow::Fuzz {
namespace {

using namespace WebServer;

void try_packet(const std::string& packet) {
  if (const auto call = decode_call(packet))
    expect_equal(packet, encode(*call), "a call has one form");
  if (const auto response = decode_response(packet)) {
    expect_equal(packet, encode(*response), "a response has one form");
    expect(is_sendable(*response), "what a child answers can be sent");
  }
}

const Target target("broker_packets", try_packet);

}  // namespace
}  // namespace Quarrow::Fuzz
