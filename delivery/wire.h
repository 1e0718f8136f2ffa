// The packets between an evaluator and its helper process: one each way for each message.
#ifndef QUARROW_DELIVERY_WIRE_H_
#define QUARROW_DELIVERY_WIRE_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "message_filters/script_words.h"
#include "quarrow/delivery/evaluation_outcome.h"

namespace Quarrow::Delivery {

// A larger answer is not sent. The longest script's actions take two thirds of it.
constexpr std::size_t answer_limit = 160000;

// A message to evaluate. Its descriptor and the script's text follow in the same packet.
struct Request {
  std::uint64_t sequence;  // comes back in the answer
  std::uint64_t size;      // of the message, in bytes
  std::int64_t received;   // seconds since the epoch
};

struct Answer {
  std::uint64_t sequence = 0;
  std::uint64_t growth = 0;  // bytes of memory in use by the helper beyond those at its start
  Evaluation evaluation;
};

// Sends a request. False when the helper is not there any more.
bool send_request(int socket, const Request& request, const std::string& script, int message_fd);

// Waits for a request and receives it into `request` and `script`. Gives the message's descriptor,
// which is the caller's to close; negative when there won't be a request any more.
int receive_request(int socket, Request& request, std::string& script);

// An answer as a packet. Its evaluation is replaced by a failure when it is too long.
std::string encode(const Answer& answer);

// The answer in a packet from a helper; nothing when the packet is not wholly well-formed, since a
// message may have taken the helper over.
std::optional<Answer> decode(std::string_view packet);

}  // namespace Quarrow::Delivery

#endif  // QUARROW_DELIVERY_WIRE_H_
