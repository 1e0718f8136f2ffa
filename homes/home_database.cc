// The schema, and what SQLite's failures mean.
#include "homes/home_database.h"

#include <base.h>

#include <utility>

namespace Quarrow::Homes {
namespace {

using Failure = SqliteDatabase::Failure;
using Kind = HomeRefusal::Kind;

constexpr char application_id[] = "1364346957";  // "QRHM"
constexpr char schema_version[] = "1";

constexpr char schema[] =
    "CREATE TABLE node ("
    "  id INTEGER PRIMARY KEY,"
    "  name TEXT NOT NULL UNIQUE,"
    "  transport TEXT NOT NULL);"
    "CREATE TABLE home ("
    "  address TEXT PRIMARY KEY,"
    "  node INTEGER NOT NULL REFERENCES node (id),"
    "  moving INTEGER NOT NULL DEFAULT 0 CHECK (moving IN (0, 1))) WITHOUT ROWID;";

bool is_empty(SqliteDatabase& database) {
  const auto tables = database.first_row("SELECT count(*) FROM sqlite_schema");
  return !tables.empty() && tables.front() == "0";
}

// Two processes may do this at a time: the second one finds what the first one made.
void make_tables(SqliteDatabase& database) {
  (void)database.first_row("PRAGMA journal_mode = WAL");
  database.execute("BEGIN IMMEDIATE");
  if (is_empty(database)) {
    database.execute(std::string("PRAGMA application_id = ") + application_id);
    database.execute(std::string("PRAGMA user_version = ") + schema_version);
    database.execute(schema);
  }
  database.execute("COMMIT");
}

// For a file that is to be made. A failure shows when the file is opened.
const std::string& with_folder(const std::string& file) {
  const std::size_t slash = file.rfind('/');
  if (slash != std::string::npos) (void)create_path(file.substr(0, slash), 0755);
  return file;
}

Kind kind_of(Failure failure) {
  switch (failure) {
    case Failure::none:
      return Kind::none;
    case Failure::missing:
      return Kind::missing;
    case Failure::not_permitted:
      return Kind::not_permitted;
    case Failure::busy:
      return Kind::try_again;
    case Failure::no_room:
      return Kind::no_room;
    default:
      return Kind::unusable;
  }
}

}  // namespace

HomeDatabase::HomeDatabase(std::string file, Access access, std::chrono::milliseconds patience)
    : file_(std::move(file)),
      database_(access == Access::create ? with_folder(file_) : file_, access, patience) {
  if (access == Access::create && is_empty(database_)) make_tables(database_);
  check_schema();
  if (access == Access::read || !fault_.empty()) return;
  database_.keep_log_files();
  database_.execute(
      "PRAGMA synchronous = FULL; PRAGMA foreign_keys = ON; PRAGMA journal_size_limit = 1048576");
}

void HomeDatabase::check_schema() {
  const auto application = database_.first_row("PRAGMA application_id");
  const auto version = database_.first_row("PRAGMA user_version");
  if (application.empty() || version.empty()) return;  // which is a failure of SQLite
  if (application.front() != application_id)
    fault_ = "not a table of homes";
  else if (version.front() != schema_version)
    fault_ = "unknown schema version " + version.front();
}

HomeRefusal HomeDatabase::refusal() const {
  if (!fault_.empty()) return {Kind::unusable, file_, fault_};
  if (!database_.has_failed()) return {};
  return {kind_of(database_.failure()), file_, database_.reason()};
}

}  // namespace Quarrow::Homes
