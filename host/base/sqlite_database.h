// SQLite, which is loaded when a database is first opened.
#ifndef SQLITE_DATABASE_H_
#define SQLITE_DATABASE_H_

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

// A database in a file, used by one thread of one process. It is like a stream: after a failure,
// further calls change nothing and give nothing.
class SqliteDatabase {
 public:
  enum class Access {
    read,
    change,
    create  // change, and make an empty database where there is no file
  };

  enum class Failure { none, missing, not_permitted, busy, no_room, other };

  // The columns of a row as text; an empty text stands for NULL, too.
  using Row = std::vector<std::string>;

  // Opens the database in `file`; anything but a regular file is a failure. Where others have it
  // locked, each call waits for `patience` before it fails. Throws std::runtime_error when SQLite
  // is not there.
  SqliteDatabase(const std::string& file, Access access, std::chrono::milliseconds patience);
  ~SqliteDatabase();
  SqliteDatabase(const SqliteDatabase&) = delete;
  SqliteDatabase& operator=(const SqliteDatabase&) = delete;

  // The first failure, and its reason for a person.
  bool has_failed() const { return failure_ != Failure::none; }
  Failure failure() const { return failure_; }
  const std::string& reason() const { return reason_; }

  // Runs statements whose rows do not matter.
  void execute(const std::string& sql);

  // Runs one statement, with `values` in the place of its question marks, and gives its first row;
  // an empty one when there is none.
  Row first_row(const std::string& sql, const std::vector<std::string>& values = {});

  // The same for all rows, as they come.
  void each_row(const std::string& sql, const std::vector<std::string>& values,
                const std::function<void(const Row& row)>& visit);

  // How many rows the last change was of.
  std::int64_t changes() const;

  // Keeps the write-ahead log's files when nobody uses the database any longer: without them,
  // processes that must not write to the folder could not read it.
  void keep_log_files();

  // Whether the file that was opened has its name still.
  bool is_in_place() const;

 private:
  struct Close {
    void operator()(sqlite3* database) const;
  };
  struct Finish {
    void operator()(sqlite3_stmt* statement) const;
  };
  using Statement = std::unique_ptr<sqlite3_stmt, Finish>;

  void check_file(const std::string& file, Access access);
  void open(const std::string& file, Access access, std::chrono::milliseconds patience);
  void fail(Failure failure, const std::string& reason);
  void check(int result);
  sqlite3_stmt* prepared(const std::string& sql);

  Failure failure_ = Failure::none;
  std::string reason_;
  std::unique_ptr<sqlite3, Close> database_;
  std::map<std::string, Statement> statements_;  // by their text; gone before the database is
};

#endif  // SQLITE_DATABASE_H_
