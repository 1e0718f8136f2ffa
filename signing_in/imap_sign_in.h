// Asks an IMAP server whether a password is right; the only file that knows libcurl.
#ifndef QUARROW_SIGNING_IN_IMAP_SIGN_IN_H_
#define QUARROW_SIGNING_IN_IMAP_SIGN_IN_H_

#include <chrono>
#include <string>

#include "signing_in/password_check.h"

namespace Quarrow::SigningIn {

struct ImapServer {
  std::string url;  // imaps://mail.example.org, or imap://... for STARTTLS; with a port or not
  std::string ca_file = {};  // who may certify the server; "" stands for those the system trusts
  std::chrono::milliseconds patience = std::chrono::seconds(20);  // for all of a sign-in
};

// Why `url` names no server to sign in at, for a person; empty when it does.
std::string server_fault(const std::string& url);

// Loads libcurl, which imap_sign_in otherwise does in each process. Throws std::runtime_error when
// it is not there.
void prepare_for_imap();

// Signs in at the server, over TLS and with the server's certificate checked, or not at all, and
// leaves. A user or a password that is empty or has control characters is wrong, and the server is
// not asked: an IMAP server may take a line's end for that of a command.
//
// Blocks, and may make threads: run it in a process of its own, as CheckProcess does. Throws
// std::runtime_error where libcurl is not there.
PasswordVerdict imap_sign_in(const ImapServer& server, const std::string& user,
                             const std::string& password);

}  // namespace Quarrow::SigningIn

#endif  // QUARROW_SIGNING_IN_IMAP_SIGN_IN_H_
