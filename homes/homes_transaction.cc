// Changes in SQL.
#include "homes/homes_transaction.h"

#include "homes/limits.h"
#include "homes/node_text.h"

namespace Quarrow::Homes {
namespace {

using Access = HomeDatabase::Access;
using Kind = HomeRefusal::Kind;
using Row = SqliteDatabase::Row;

}  // namespace

HomesTransaction::HomesTransaction(const std::string& file, Start start)
    : database_(file, start == Start::with_any ? Access::create : Access::change, change_patience) {
  database_.sql().execute("BEGIN IMMEDIATE");
}

HomeRefusal HomesTransaction::add_node(const std::string& name, const std::string& transport) {
  if (std::string fault = node_name_fault(name); !fault.empty()) return {Kind::wrong, name, fault};
  if (std::string fault = transport_fault(transport); !fault.empty())
    return {Kind::wrong, transport, fault};
  (void)database_.sql().first_row(
      "INSERT INTO node (name, transport) VALUES (?, ?)"
      " ON CONFLICT (name) DO UPDATE SET transport = excluded.transport",
      {name, transport});
  return database_.refusal();
}

HomeRefusal HomesTransaction::remove_node(const std::string& name) {
  std::string id;
  if (HomeRefusal refusal = find_node(name, id)) return refusal;
  const Row user = database_.sql().first_row("SELECT address FROM home WHERE node = ?", {id});
  if (!user.empty()) return {Kind::wrong, name, "users live there, " + user.front() + " for one"};
  (void)database_.sql().first_row("DELETE FROM node WHERE id = ?", {id});
  return database_.refusal();
}

HomeRefusal HomesTransaction::set_home(const std::string& user, const std::string& node) {
  std::string id;
  if (HomeRefusal refusal = find_node(node, id)) return refusal;
  (void)database_.sql().first_row(
      "INSERT INTO home (address, node) VALUES (?, ?)"
      " ON CONFLICT (address) DO UPDATE SET node = excluded.node WHERE moving = 0",
      {user, id});
  if (HomeRefusal refusal = database_.refusal()) return refusal;
  if (database_.sql().changes() > 0) return {};
  return {Kind::wrong, user, "is being moved, which \"quarrow home move\" ends"};
}

HomeRefusal HomesTransaction::set_moving(const std::string& user, bool moving) {
  (void)database_.sql().first_row("UPDATE home SET moving = ? WHERE address = ?",
                                  {moving ? "1" : "0", user});
  return refusal_unless_changed(user);
}

HomeRefusal HomesTransaction::move_home(const std::string& user, const std::string& node) {
  std::string id;
  if (HomeRefusal refusal = find_node(node, id)) return refusal;
  (void)database_.sql().first_row("UPDATE home SET node = ?, moving = 0 WHERE address = ?",
                                  {id, user});
  return refusal_unless_changed(user);
}

HomeRefusal HomesTransaction::remove_home(const std::string& user) {
  (void)database_.sql().first_row("DELETE FROM home WHERE address = ?", {user});
  return refusal_unless_changed(user);
}

HomeRefusal HomesTransaction::commit() {
  database_.sql().execute("COMMIT");
  return database_.refusal();
}

HomeRefusal HomesTransaction::find_node(const std::string& name, std::string& id) {
  const Row row = database_.sql().first_row("SELECT id FROM node WHERE name = ?", {name});
  if (HomeRefusal refusal = database_.refusal()) return refusal;
  if (row.empty()) return {Kind::wrong, name, "no such node; see quarrow home node list"};
  id = row.front();
  return {};
}

// After a change of one user's row.
HomeRefusal HomesTransaction::refusal_unless_changed(const std::string& user) const {
  if (HomeRefusal refusal = database_.refusal()) return refusal;
  if (database_.sql().changes() > 0) return {};
  return {Kind::unknown_user, user, "has no home; \"quarrow home set\" gives one"};
}

}  // namespace Quarrow::Homes
