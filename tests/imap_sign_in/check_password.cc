// Checks a password as a server does: check_password URL CA_FILE USER PATIENCE_MS DEADLINE_MS
//
// The password stands on standard input. Prints "right", "wrong" or "unavailable: REASON".
#include <chrono>
#include <iostream>
#include <iterator>
#include <string>

#include "signing_in/check_process.h"
#include "signing_in/imap_sign_in.h"

int main(int argc, char** argv) {
  using namespace Quarrow::SigningIn;
  using std::chrono::milliseconds;
  using Result = PasswordVerdict::Result;
  if (argc != 6) return 64;
  const ImapServer server = {argv[1], argv[2], milliseconds(std::stol(argv[4]))};
  const auto check = [&server](const std::string& user, const std::string& password) {
    return imap_sign_in(server, user, password);
  };
  std::string password(std::istreambuf_iterator<char>(std::cin), {});
  CheckProcess process(check, argv[3], password, milliseconds(std::stol(argv[5])));
  const PasswordVerdict verdict = process.verdict();
  if (verdict.result == Result::right) std::cout << "right\n";
  if (verdict.result == Result::wrong) std::cout << "wrong\n";
  if (verdict.result == Result::unavailable) std::cout << "unavailable: " << verdict.reason << '\n';
}
