// The packets between an evaluator and its helper process.
#ifndef QUARROW_DELIVERY_WIRE_H_
#define QUARROW_DELIVERY_WIRE_H_

#include <chrono>
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

// What to evaluate, or which value to tell. The script, or the header's name, and the message's
// header block follow; the helper gets no descriptor of the message, so that it can neither read
// nor change the rest.
struct Request {
  enum class Kind : std::uint64_t { evaluation, header_value };

  std::uint64_t sequence;  // comes back in the answer
  std::uint64_t size;      // of the message, in bytes
  std::int64_t received;   // seconds since the epoch
  Kind kind = Kind::evaluation;
};

struct Answer {
  std::uint64_t sequence = 0;
  Evaluation evaluation;
  std::optional<std::string> value;  // of the header, where that was asked for
};

enum class Sending { done, nobody_there, too_slow };

// Waits until `socket` is ready for `events` of poll(2), or its other end is closed. False when
// that does not happen before `deadline`.
bool wait_until_ready(int socket, short events, std::chrono::steady_clock::time_point deadline);

// Sends a request in as many packets as it takes, before `deadline`.
Sending send_request(int socket, const Request& request, std::string_view script,
                     std::string_view header, std::chrono::steady_clock::time_point deadline);

// Waits for a request and receives all of it. False when there won't be a request any more.
bool receive_request(int socket, Request& request, std::string& script, std::string& header);

// An answer as a packet. Its evaluation is replaced by a failure when it is too long.
std::string encode(const Answer& answer);

// The answer in a packet from a helper; nothing when the packet is not wholly well-formed, since a
// message may have taken the helper over.
std::optional<Answer> decode(std::string_view packet);

}  // namespace Quarrow::Delivery

#endif  // QUARROW_DELIVERY_WIRE_H_
