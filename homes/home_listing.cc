// Rows of the two tables.
#include "homes/home_listing.h"

#include "homes/home_database.h"
#include "homes/limits.h"

namespace Quarrow::Homes {
namespace {

using Row = SqliteDatabase::Row;

}  // namespace

HomeRefusal list_nodes(const std::string& file, const std::function<void(const Node&)>& visit) {
  HomeDatabase database(file, HomeDatabase::Access::read, change_patience);
  if (HomeRefusal refusal = database.refusal()) return refusal;
  database.sql().each_row("SELECT name, transport FROM node ORDER BY name", {},
                          [&visit](const Row& row) {
                            visit({row[0], row[1]});
                          });
  return database.refusal();
}

HomeRefusal list_homes(const std::string& file, const std::string& node,
                       const std::function<void(const Home&)>& visit) {
  HomeDatabase database(file, HomeDatabase::Access::read, change_patience);
  if (HomeRefusal refusal = database.refusal()) return refusal;
  const Row known = database.sql().first_row("SELECT 1 FROM node WHERE name = ?", {node});
  if (!node.empty() && known.empty() && !database.refusal())
    return {HomeRefusal::Kind::wrong, node, "no such node; see quarrow home node list"};
  database.sql().each_row(
      "SELECT address, name, moving FROM home JOIN node ON node = id"
      " WHERE ?1 IN ('', name) ORDER BY address",
      {node}, [&visit](const Row& row) {
        visit({row[0], row[1], row[2] == "1"});
      });
  return database.refusal();
}

}  // namespace Quarrow::Homes
