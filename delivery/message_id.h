// A message's identifier, for the log and the journal.
#ifndef QUARROW_DELIVERY_MESSAGE_ID_H_
#define QUARROW_DELIVERY_MESSAGE_ID_H_

#include <cstddef>
#include <string>
#include <string_view>

namespace Quarrow::Delivery {

// The most of an identifier that is kept.
constexpr std::size_t longest_message_id = 250;

// The first word of the Message-ID line in `header`, angle brackets included, cut to that length;
// empty when there is none. `header` ends at its first empty line. A stranger chose the text.
std::string message_id(std::string_view header);

}  // namespace Quarrow::Delivery

#endif  // QUARROW_DELIVERY_MESSAGE_ID_H_
