// What is logged of a delivery.
#ifndef QUARROW_LMTP_DELIVERY_RECORD_H_
#define QUARROW_LMTP_DELIVERY_RECORD_H_

#include <chrono>
#include <string>

namespace Quarrow::Lmtp {

// What one delivery came to.
struct DeliveryRecord {
  std::string user;
  std::string message_id;  // with angle brackets; may be empty
  std::string rule;
  std::string action;
  std::string note;  // left out when empty
  std::chrono::milliseconds took{0};
};

// "user=a@example.org msgid=<1@example.org> rule="News" action=fileinto:Work took=3ms". Texts in
// quotes have quotes and backslashes escaped, and in what stands without quotes blanks are, too:
// none can pass for another field.
std::string log_line(const DeliveryRecord& record);

}  // namespace Quarrow::Lmtp

#endif  // QUARROW_LMTP_DELIVERY_RECORD_H_
