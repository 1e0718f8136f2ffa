// The mail server's configuration and file system helpers.
#ifndef BASE_H_
#define BASE_H_

#include <cstdint>
#include <string>

// The settings of this system.
struct SystemRecord {
  std::uint32_t capacity_grade = 0;  // 0 to 7 small, 8 to 18 medium, 19 and above large
  std::uint32_t hashed_folders = 0;  // 1: new users' folders are spread over hashed folders
};

// The configuration, one SQLite file. Each process opens it once.
struct ConfigurationDatabase {
  ConfigurationDatabase() = default;
  ConfigurationDatabase(const ConfigurationDatabase&) = delete;
  ConfigurationDatabase& operator=(const ConfigurationDatabase&) = delete;

  // Reads the settings from `file`; `system` then points to them, inside this object. False when it
  // is missing, damaged, locked for a quarter of a second or of another schema version, or when its
  // settings are out of range: `system` is as it was, and `error` says what is wrong with which
  // file.
  bool open(const std::string& file);

  // Writes a new configuration file with the settings `record`, readable by all (mode 0644). False,
  // with `error` set, when the file is there already or can't be written; no half-written file is
  // left.
  bool create(const std::string& file, const SystemRecord& record);

  SystemRecord* system = nullptr;  // null until open() succeeds; may be set to one of the caller's
  std::string error;               // the failure of the last open() or create() that failed

 private:
  SystemRecord opened_;
};

extern ConfigurationDatabase cmdb;

// Makes the folder `path`, with those above it, in mode `mode` less the umask. 0 when it is there
// in the end; -1, with errno set, otherwise. An empty path succeeds.
int create_path(const std::string& path, int mode);

#endif  // BASE_H_
