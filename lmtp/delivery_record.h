// A delivery's line in the log.
#ifndef QUARROW_LMTP_DELIVERY_RECORD_H_
#define QUARROW_LMTP_DELIVERY_RECORD_H_

#include <chrono>
#include <optional>
#include <string>

namespace Quarrow::Lmtp {

// Whether somebody has something to mend: the user or the administrator behind a warning, the
// administrator at once behind an error, since the message still waits.
enum class Severity { information, warning, error };

// The outcome of one delivery.
struct DeliveryRecord {
  std::string user;        // the address of the user whose folder it was
  std::string recipient;   // the recipient's address; left out where it is the user's
  std::string message_id;  // with angle brackets; may be empty
  std::string client;      // the address of the client that a proxy told; left out when empty
  std::string rule;        // name of the filter that decided; may be empty
  std::string action;      // such as "fileinto:Work"
  std::string note;        // why the message is in the inbox; left out when empty
  std::chrono::milliseconds took{0};
  Severity severity = Severity::information;  // the level of the line, not a part of it
};

// The record as one line: user=a@example.org msgid=<1@example.org> rule="News" action=fileinto:Work
// took=3ms. A recipient stands behind the user, a client behind the identifier. Folders are in
// UTF-8. Between quotes, quotes and backslashes are escaped; in fields without quotes, blanks and
// backslashes are: no text can pass for another field.
std::string log_line(const DeliveryRecord& record);

// A line of a log, as the server or the system's log writes it.
struct LoggedDelivery {
  std::string origin;     // what stands in front of the program's name: a time, and perhaps a host
  DeliveryRecord record;  // without the client, the time that it took, and its severity
};

// The delivery by the server that `line` tells of; none when it is another line, or is cut off.
std::optional<LoggedDelivery> logged_delivery(const std::string& line);

}  // namespace Quarrow::Lmtp

#endif  // QUARROW_LMTP_DELIVERY_RECORD_H_
