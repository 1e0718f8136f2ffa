// A delivery's line in the log.
#ifndef QUARROW_LMTP_DELIVERY_RECORD_H_
#define QUARROW_LMTP_DELIVERY_RECORD_H_

#include <chrono>
#include <string>

namespace Quarrow::Lmtp {

// The outcome of one delivery.
struct DeliveryRecord {
  std::string user;        // the recipient's address
  std::string message_id;  // with angle brackets; may be empty
  std::string rule;        // name of the filter that decided; may be empty
  std::string action;      // such as "fileinto:Work"
  std::string note;        // why the message is in the inbox; left out when empty
  std::chrono::milliseconds took{0};
};

// The record as one line: user=a@example.org msgid=<1@example.org> rule="News" action=fileinto:Work
// took=3ms. Between quotes, quotes and backslashes are escaped; in fields without quotes, blanks
// and backslashes are: no text can pass for another field.
std::string log_line(const DeliveryRecord& record);

}  // namespace Quarrow::Lmtp

#endif  // QUARROW_LMTP_DELIVERY_RECORD_H_
