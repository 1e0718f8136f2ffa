// The database in which the table of homes is kept.
#ifndef QUARROW_HOMES_HOME_DATABASE_H_
#define QUARROW_HOMES_HOME_DATABASE_H_

#include <chrono>
#include <string>

#include "homes/home_refusal.h"
#include "host/base/sqlite_database.h"

namespace Quarrow::Homes {

// The tables node(id, name, transport) and home(address, node, moving) in a file. Its log is
// written ahead, so that readers wait for nobody.
class HomeDatabase {
 public:
  using Access = SqliteDatabase::Access;

  // Opens the database in `file`; a new one gets its tables, and the folder for its file.
  HomeDatabase(std::string file, Access access, std::chrono::milliseconds patience);

  const std::string& file() const { return file_; }
  SqliteDatabase& sql() { return database_; }
  const SqliteDatabase& sql() const { return database_; }

  // What failed first: the opening, or a call after it.
  HomeRefusal refusal() const;

 private:
  void check_schema();

  const std::string file_;
  SqliteDatabase database_;
  std::string fault_;  // why this is no table of homes; empty when it is
};

}  // namespace Quarrow::Homes

#endif  // QUARROW_HOMES_HOME_DATABASE_H_
