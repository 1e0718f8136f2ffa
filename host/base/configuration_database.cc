// The configuration file. No other file of the product sees SQLite.
#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>

#include "base.h"
#include "system/loaded_library.h"

namespace {

constexpr int application_id = 0x51525257;  // "QRRW"
constexpr int flat_version = 1;
constexpr int hashed_version = 2;  // refused by programs that would not find users' folders
constexpr int busy_milliseconds = 250;

constexpr char grade_schema[] =
    "CREATE TABLE system ("
    "  id INTEGER PRIMARY KEY CHECK (id = 1),"  // one row, no more
    "  capacity_grade INTEGER NOT NULL CHECK (capacity_grade BETWEEN 0 AND 4294967295));";
constexpr char hashed_schema[] =
    "ALTER TABLE system ADD COLUMN"
    "  hashed_folders INTEGER NOT NULL DEFAULT 1 CHECK (hashed_folders BETWEEN 0 AND 1);";

// The functions that are used of SQLite.
struct Functions {
  const Quarrow::LoadedLibrary library{"libsqlite3.so.0"};
  decltype(&sqlite3_busy_timeout) const busy_timeout = library["sqlite3_busy_timeout"];
  decltype(&sqlite3_close) const close = library["sqlite3_close"];
  decltype(&sqlite3_column_text) const column_text = library["sqlite3_column_text"];
  decltype(&sqlite3_errmsg) const errmsg = library["sqlite3_errmsg"];
  decltype(&sqlite3_exec) const exec = library["sqlite3_exec"];
  decltype(&sqlite3_finalize) const finalize = library["sqlite3_finalize"];
  decltype(&sqlite3_open_v2) const open_v2 = library["sqlite3_open_v2"];
  decltype(&sqlite3_prepare_v2) const prepare_v2 = library["sqlite3_prepare_v2"];
  decltype(&sqlite3_step) const step = library["sqlite3_step"];
};

// Throws std::runtime_error when SQLite is not there.
const Functions& sqlite() {
  static const Functions functions;
  return functions;
}

struct DatabaseClose {
  void operator()(sqlite3* database) const { (void)sqlite().close(database); }
};
using Database = std::unique_ptr<sqlite3, DatabaseClose>;

struct StatementFinish {
  void operator()(sqlite3_stmt* statement) const { (void)sqlite().finalize(statement); }
};
using Statement = std::unique_ptr<sqlite3_stmt, StatementFinish>;

// A file that goes away with this object.
class Draft {
 public:
  explicit Draft(const std::string& file) : path_(file + ".XXXXXX") {
    const int descriptor = mkostemp(path_.data(), O_CLOEXEC);
    if (descriptor < 0) {
      path_.clear();
      return;
    }
    // to be read by the processes of all users; a failure leaves it to its owner
    (void)fchmod(descriptor, 0644);
    (void)::close(descriptor);
  }
  ~Draft() {
    if (!path_.empty()) (void)unlink(path_.c_str());
  }
  Draft(const Draft&) = delete;
  Draft& operator=(const Draft&) = delete;

  const std::string& path() const { return path_; }  // empty when it could not be made

 private:
  std::string path_;
};

// Functions that return a text say what is wrong, and an empty one when all is well.

std::string system_error() { return std::strerror(errno); }

std::string execute(sqlite3* database, const std::string& sql) {
  const int result = sqlite().exec(database, sql.c_str(), nullptr, nullptr, nullptr);
  return result == SQLITE_OK ? std::string() : sqlite().errmsg(database);
}

std::string open_database(const std::string& file, int flags, Database* database) {
  sqlite3* opened = nullptr;
  const int result = sqlite().open_v2(file.c_str(), &opened, flags, nullptr);
  database->reset(opened);  // there is one even after a failure, as a rule
  if (!opened) return "no memory";
  if (result != SQLITE_OK) return sqlite().errmsg(opened);
  (void)sqlite().busy_timeout(opened, busy_milliseconds);
  return {};
}

// Opening a fifo would wait for a writer.
std::string check_regular(const std::string& file) {
  struct stat entry {};
  if (file.find('\0') != std::string::npos) return "not a file name";
  if (stat(file.c_str(), &entry) != 0) return system_error();
  return S_ISREG(entry.st_mode) ? "" : "not a regular file";
}

// The first row of a query: its first column as text; `error` is set when there is none.
std::string query(sqlite3* database, const char* sql, std::string* error) {
  sqlite3_stmt* prepared = nullptr;
  const int result = sqlite().prepare_v2(database, sql, -1, &prepared, nullptr);
  const Statement statement(prepared);
  const int step = result == SQLITE_OK ? sqlite().step(prepared) : result;
  if (step != SQLITE_ROW) {
    *error = step == SQLITE_DONE ? "no settings within their range" : sqlite().errmsg(database);
    return {};
  }
  const auto* text = reinterpret_cast<const char*>(sqlite().column_text(prepared, 0));
  return text ? text : "";
}

std::string check_schema(sqlite3* database, std::string* version) {
  std::string error;
  const std::string application = query(database, "PRAGMA application_id", &error);
  if (!error.empty()) return error;
  if (application != std::to_string(application_id)) return "not a configuration file";
  *version = query(database, "PRAGMA user_version", &error);
  if (!error.empty()) return error;
  if (*version != std::to_string(flat_version) && *version != std::to_string(hashed_version))
    return "unknown schema version " + *version;
  const std::string state = query(database, "PRAGMA quick_check(1)", &error);
  if (!error.empty()) return error;
  return state == "ok" ? std::string() : "damaged: " + state;
}

std::string read_settings(const std::string& file, SystemRecord* record) {
  std::string error = check_regular(file);
  Database database;
  if (error.empty()) error = open_database(file, SQLITE_OPEN_READONLY, &database);
  std::string version;
  if (error.empty()) error = check_schema(database.get(), &version);
  if (!error.empty()) return error;
  const std::string grade = query(database.get(),
                                  "SELECT capacity_grade FROM system"
                                  " WHERE typeof(capacity_grade) = 'integer'"
                                  " AND capacity_grade BETWEEN 0 AND 4294967295",
                                  &error);
  std::string hashed = "0";
  if (error.empty() && version == std::to_string(hashed_version))
    hashed = query(database.get(),
                   "SELECT hashed_folders FROM system"
                   " WHERE typeof(hashed_folders) = 'integer' AND hashed_folders BETWEEN 0 AND 1",
                   &error);
  if (error.empty())
    *record = {static_cast<std::uint32_t>(std::stoul(grade)), hashed == "1" ? 1U : 0U};
  return error;
}

std::string settings_sql(const SystemRecord& record) {
  std::string sql = "PRAGMA journal_mode = MEMORY; BEGIN;";  // a crash makes a draft worthless
  sql += "PRAGMA application_id = " + std::to_string(application_id) + ";";
  const bool is_hashed = record.hashed_folders != 0;
  const int version = is_hashed ? hashed_version : flat_version;
  sql += "PRAGMA user_version = " + std::to_string(version) + ";";
  sql += grade_schema;
  if (is_hashed) sql += hashed_schema;
  sql += "INSERT INTO system (id, capacity_grade) VALUES (1, " +
         std::to_string(record.capacity_grade) + "); COMMIT;";
  return sql;
}

std::string write_settings(const std::string& file, const SystemRecord& record) {
  Database database;
  const std::string error = open_database(file, SQLITE_OPEN_READWRITE, &database);
  return error.empty() ? execute(database.get(), settings_sql(record)) : error;
}

// A link, unlike a rename, refuses to take the place of a file.
std::string create_file(const std::string& file, const SystemRecord& record) {
  if (file.find('\0') != std::string::npos) return "not a file name";
  const Draft draft(file);
  if (draft.path().empty()) return system_error();
  const std::string error = write_settings(draft.path(), record);
  if (!error.empty()) return error;
  return link(draft.path().c_str(), file.c_str()) == 0 ? std::string() : system_error();
}

}  // namespace

ConfigurationDatabase cmdb;

bool ConfigurationDatabase::open(const std::string& file) {
  SystemRecord record;
  const std::string failure = read_settings(file, &record);
  if (!failure.empty()) {
    error = file + ": " + failure;
    return false;
  }
  opened_ = record;
  system = &opened_;
  return true;
}

bool ConfigurationDatabase::create(const std::string& file, const SystemRecord& record) {
  const std::string failure = create_file(file, record);
  if (!failure.empty()) error = file + ": " + failure;
  return failure.empty();
}
