// SQLite's functions. No other file of the product sees them.
#include "host/base/sqlite_database.h"

#include <sqlite3.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "system/loaded_library.h"

namespace {

using Failure = SqliteDatabase::Failure;

// The functions that are used of SQLite.
struct Functions {
  const Quarrow::LoadedLibrary library{"libsqlite3.so.0"};
  decltype(&sqlite3_bind_text) const bind_text = library["sqlite3_bind_text"];
  decltype(&sqlite3_busy_timeout) const busy_timeout = library["sqlite3_busy_timeout"];
  decltype(&sqlite3_changes) const changes = library["sqlite3_changes"];
  decltype(&sqlite3_close) const close = library["sqlite3_close"];
  decltype(&sqlite3_column_bytes) const column_bytes = library["sqlite3_column_bytes"];
  decltype(&sqlite3_column_count) const column_count = library["sqlite3_column_count"];
  decltype(&sqlite3_column_text) const column_text = library["sqlite3_column_text"];
  decltype(&sqlite3_errmsg) const errmsg = library["sqlite3_errmsg"];
  decltype(&sqlite3_exec) const exec = library["sqlite3_exec"];
  decltype(&sqlite3_file_control) const file_control = library["sqlite3_file_control"];
  decltype(&sqlite3_finalize) const finalize = library["sqlite3_finalize"];
  decltype(&sqlite3_open_v2) const open_v2 = library["sqlite3_open_v2"];
  decltype(&sqlite3_prepare_v2) const prepare_v2 = library["sqlite3_prepare_v2"];
  decltype(&sqlite3_reset) const reset = library["sqlite3_reset"];
  decltype(&sqlite3_step) const step = library["sqlite3_step"];
};

const Functions& sqlite() {
  static const Functions functions;
  return functions;
}

int flags_of(SqliteDatabase::Access access) {
  switch (access) {
    case SqliteDatabase::Access::read:
      return SQLITE_OPEN_READONLY;
    case SqliteDatabase::Access::change:
      return SQLITE_OPEN_READWRITE;
    default:
      return SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
  }
}

// What a result other than success comes to; the lower byte of it is its kind.
Failure failure_of(int result) {
  switch (result & 0xff) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return Failure::busy;
    case SQLITE_READONLY:
    case SQLITE_PERM:
    case SQLITE_AUTH:
      return Failure::not_permitted;
    case SQLITE_FULL:
      return Failure::no_room;
    default:
      return Failure::other;
  }
}

Failure failure_of_error(int error) {
  if (error == ENOENT || error == ENOTDIR) return Failure::missing;
  return error == EACCES ? Failure::not_permitted : Failure::other;
}

SqliteDatabase::Row row_of(sqlite3_stmt* statement) {
  SqliteDatabase::Row row;
  for (int column = 0; column < sqlite().column_count(statement); ++column) {
    const auto* text = reinterpret_cast<const char*>(sqlite().column_text(statement, column));
    const int size = sqlite().column_bytes(statement, column);
    row.emplace_back(text ? text : "", text ? static_cast<std::size_t>(size) : 0);
  }
  return row;
}

}  // namespace

void SqliteDatabase::Close::operator()(sqlite3* database) const { (void)sqlite().close(database); }

void SqliteDatabase::Finish::operator()(sqlite3_stmt* statement) const {
  (void)sqlite().finalize(statement);
}

SqliteDatabase::SqliteDatabase(const std::string& file, Access access,
                               std::chrono::milliseconds patience) {
  check_file(file, access);
  if (!has_failed()) open(file, access, patience);
}

SqliteDatabase::~SqliteDatabase() = default;

void SqliteDatabase::check_file(const std::string& file, Access access) {
  struct stat entry {};
  if (file.find('\0') != std::string::npos) return fail(Failure::missing, "not a file name");
  const int error = stat(file.c_str(), &entry) == 0 ? 0 : errno;
  if (error == ENOENT && access == Access::create) return;
  if (error != 0) return fail(failure_of_error(error), std::strerror(error));
  // opening a fifo would wait for a writer
  if (!S_ISREG(entry.st_mode)) fail(Failure::other, "not a regular file");
}

void SqliteDatabase::open(const std::string& file, Access access,
                          std::chrono::milliseconds patience) {
  sqlite3* opened = nullptr;
  const int result = sqlite().open_v2(file.c_str(), &opened, flags_of(access), nullptr);
  database_.reset(opened);  // there is one even after a failure, as a rule
  if (!opened) return fail(Failure::other, "no memory");
  check(result);
  (void)sqlite().busy_timeout(opened, static_cast<int>(patience.count()));
}

void SqliteDatabase::fail(Failure failure, const std::string& reason) {
  failure_ = failure;
  reason_ = reason;
}

void SqliteDatabase::check(int result) {
  if (result != SQLITE_OK && !has_failed())
    fail(failure_of(result), sqlite().errmsg(database_.get()));
}

void SqliteDatabase::execute(const std::string& sql) {
  if (!has_failed()) check(sqlite().exec(database_.get(), sql.c_str(), nullptr, nullptr, nullptr));
}

SqliteDatabase::Row SqliteDatabase::first_row(const std::string& sql,
                                              const std::vector<std::string>& values) {
  Row first;
  each_row(sql, values, [&first](const Row& row) {
    if (first.empty()) first = row;
  });
  return first;
}

void SqliteDatabase::each_row(const std::string& sql, const std::vector<std::string>& values,
                              const std::function<void(const Row& row)>& visit) {
  sqlite3_stmt* const statement = prepared(sql);
  int place = 0;
  for (const std::string& value : values)
    if (!has_failed())
      check(sqlite().bind_text(statement, ++place, value.data(), static_cast<int>(value.size()),
                               SQLITE_STATIC));
  if (has_failed()) return;
  int result = sqlite().step(statement);
  for (; result == SQLITE_ROW; result = sqlite().step(statement)) visit(row_of(statement));
  if (result != SQLITE_DONE) check(result);
  (void)sqlite().reset(statement);  // which gives the failure of the step once more
}

sqlite3_stmt* SqliteDatabase::prepared(const std::string& sql) {
  if (has_failed()) return nullptr;
  Statement& statement = statements_[sql];
  if (statement) return statement.get();
  sqlite3_stmt* made = nullptr;
  check(sqlite().prepare_v2(database_.get(), sql.c_str(), -1, &made, nullptr));
  statement.reset(made);
  return made;
}

std::int64_t SqliteDatabase::changes() const {
  return has_failed() ? 0 : sqlite().changes(database_.get());
}

void SqliteDatabase::keep_log_files() {
  int keeps = 1;
  if (!has_failed())
    check(sqlite().file_control(database_.get(), nullptr, SQLITE_FCNTL_PERSIST_WAL, &keeps));
}

bool SqliteDatabase::is_in_place() const {
  int has_moved = 0;
  return !has_failed() &&
         sqlite().file_control(database_.get(), nullptr, SQLITE_FCNTL_HAS_MOVED, &has_moved) ==
             SQLITE_OK &&
         has_moved == 0;
}
