// The arguments of MAIL and RCPT (RFC 5321, section 4.1.2).
#ifndef QUARROW_LMTP_MAIL_PATH_H_
#define QUARROW_LMTP_MAIL_PATH_H_

#include <map>
#include <optional>
#include <string>

namespace Quarrow::Lmtp {

// An address between angle brackets, and the parameters behind it.
struct MailPath {
  // "local@domain", or "local" alone; empty for the null path. A source route is dropped, and a
  // local part that needs no quotes has none.
  std::string mailbox;
  std::map<std::string, std::string>
      parameters;  // keywords in capitals; "" for a keyword without "="
};

// Reads "FROM:<a@b> SIZE=5", where `label` is "FROM:" in capitals. Blanks after the label are
// tolerated. Nothing when the arguments have another form, or when a parameter comes twice.
std::optional<MailPath> parse_mail_path(const std::string& arguments, const std::string& label);

// Whether `text` has bytes outside ASCII.
bool is_eight_bit(const std::string& text);

// `text` with ASCII letters in capitals, in any locale.
std::string ascii_upper(std::string text);

}  // namespace Quarrow::Lmtp

#endif  // QUARROW_LMTP_MAIL_PATH_H_
