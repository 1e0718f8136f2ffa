// Lines of two words.
#include "homes/home_import.h"

#include <sstream>

namespace Quarrow::Homes {
namespace {

using Kind = HomeRefusal::Kind;

HomeRefusal import_line(HomesTransaction& transaction, const std::string& line,
                        const UserReader& read_user, std::size_t& count) {
  std::istringstream words(line);
  std::string user;
  std::string node;
  std::string more;
  if (!(words >> user)) return {};
  if (!(words >> node) || words >> more)
    return {Kind::wrong, line, "not a user and a node, with a blank between"};
  if (std::string fault = read_user(user); !fault.empty()) return {Kind::wrong, user, fault};
  ++count;
  return transaction.set_home(user, node);
}

}  // namespace

HomeRefusal import_homes(HomesTransaction& transaction, std::istream& lines,
                         const UserReader& read_user, std::size_t& count) {
  count = 0;
  std::size_t number = 0;
  for (std::string line; std::getline(lines, line);) {
    ++number;
    HomeRefusal refusal = import_line(transaction, line, read_user, count);
    if (!refusal) continue;
    if (refusal.kind == Kind::wrong) {
      refusal.reason = refusal.object + ": " + refusal.reason;
      refusal.object = "line " + std::to_string(number);
    }
    return refusal;
  }
  if (lines.bad()) return {Kind::unusable, "standard input", "can't be read"};
  return {};
}

}  // namespace Quarrow::Homes
