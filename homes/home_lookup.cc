// Lookups in SQL.
#include "homes/home_lookup.h"

#include <zvellparser.h>

#include <utility>

#include "homes/limits.h"

namespace Quarrow::Homes {
namespace {

using Access = HomeDatabase::Access;
using Result = HomeFound::Result;
using Row = SqliteDatabase::Row;

// Other programs remove the files of the log, without which a process can't read that must not
// write.
std::string text_of(const HomeRefusal& refusal) {
  if (!refusal) return "";
  const char* const hint = refusal.kind == HomeRefusal::Kind::not_permitted
                               ? "; a change by quarrow home makes the files of its log again"
                               : "";
  return refusal.object + ": " + refusal.reason + hint;
}

}  // namespace

HomeLookup::HomeLookup(std::string file, AddressReading reading)
    : file_(std::move(file)), reading_(std::move(reading)) {}

HomeFound HomeLookup::look_up(const std::string& written) {
  const EmailAddress address(Delivery::user_spelling(written, reading_.address_case));
  if (address.isNull()) return {Result::unknown};
  open();
  const std::string user = Delivery::without_extension(address.address(), reading_.delimiters);
  HomeFound found = look_up_exactly(address.address());
  if (found.result == Result::unknown && user != address.address()) found = look_up_exactly(user);
  if (found.result == Result::unknown && !has_users())
    found = {Result::unavailable, {}, {}, file_ + ": has no users"};
  const std::string failure = text_of(database_->refusal());
  if (failure.empty()) return found;
  database_.reset();
  return {Result::unavailable, {}, {}, failure};
}

void HomeLookup::open() {
  if (!database_ || !database_->sql().is_in_place())
    database_ = std::make_unique<HomeDatabase>(file_, Access::read, lookup_patience);
}

HomeFound HomeLookup::look_up_exactly(const std::string& user) {
  const Row row = database_->sql().first_row(
      "SELECT moving, transport FROM home LEFT JOIN node ON node = id WHERE address = ?", {user});
  if (row.empty()) return {Result::unknown};
  if (row[0] == "1") return {Result::moving, user};
  if (row[1].empty()) return {Result::unavailable, {}, {}, file_ + ": damaged: a node is missing"};
  return {Result::found, user, row[1]};
}

bool HomeLookup::has_users() {
  return !database_->sql().first_row("SELECT 1 FROM home LIMIT 1").empty();
}

std::string fault_of_table(const std::string& file) {
  return text_of(HomeDatabase(file, Access::read, lookup_patience).refusal());
}

std::string fault_in_table(const std::string& file) {
  HomeDatabase database(file, Access::read, lookup_patience);
  const Row state = database.sql().first_row("PRAGMA quick_check(1)");
  if (const HomeRefusal refusal = database.refusal()) return text_of(refusal);
  return state.front() == "ok" ? "" : file + ": damaged: " + state.front();
}

}  // namespace Quarrow::Homes
