// The configuration file.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>

#include "base.h"
#include "host/base/sqlite_database.h"

namespace {

constexpr int application_id = 0x51525257;  // "QRRW"
constexpr int flat_version = 1;
constexpr int hashed_version = 2;  // refused by programs that would not find users' folders
constexpr std::chrono::milliseconds patience{250};

constexpr char grade_schema[] =
    "CREATE TABLE system ("
    "  id INTEGER PRIMARY KEY CHECK (id = 1),"  // one row, no more
    "  capacity_grade INTEGER NOT NULL CHECK (capacity_grade BETWEEN 0 AND 4294967295));";
constexpr char hashed_schema[] =
    "ALTER TABLE system ADD COLUMN"
    "  hashed_folders INTEGER NOT NULL DEFAULT 1 CHECK (hashed_folders BETWEEN 0 AND 1);";

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

// The first column of the first row of a query; `error` is set when there is none.
std::string query(SqliteDatabase& database, const char* sql, std::string* error) {
  const SqliteDatabase::Row row = database.first_row(sql);
  if (row.empty())
    *error = database.has_failed() ? database.reason() : "no settings within their range";
  return row.empty() ? std::string() : row.front();
}

std::string check_schema(SqliteDatabase& database, std::string* version) {
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
  SqliteDatabase database(file, SqliteDatabase::Access::read, patience);
  std::string version;
  std::string error = check_schema(database, &version);
  if (!error.empty()) return error;
  const std::string grade = query(database,
                                  "SELECT capacity_grade FROM system"
                                  " WHERE typeof(capacity_grade) = 'integer'"
                                  " AND capacity_grade BETWEEN 0 AND 4294967295",
                                  &error);
  std::string hashed = "0";
  if (error.empty() && version == std::to_string(hashed_version))
    hashed = query(database,
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
  SqliteDatabase database(file, SqliteDatabase::Access::change, patience);
  database.execute(settings_sql(record));
  return database.reason();
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
