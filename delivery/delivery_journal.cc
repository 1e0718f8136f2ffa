// Two files: the journal, and the one that was put aside before it.
#include "delivery/delivery_journal.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "message_filters/rules_revision.h"
#include "message_filters/user_files.h"
#include "system/descriptor.h"
#include "system/file_io.h"
#include "system/regular_file.h"

namespace Quarrow::Delivery {
namespace {

constexpr mode_t for_owner = 0600;
constexpr std::time_t day = 24 * 60 * 60;  // in seconds

// A journal that can't be put aside grows no further than this.
constexpr std::size_t most_journal_bytes = 2 * journal_bytes;

// Documents of people's rules are far below it.
constexpr std::size_t most_document_bytes = std::size_t{4} << 20U;

// A file of a user's folder, opened, and what it is.
struct OpenFile {
  OpenFile(const std::string& path, int flags) : file(open_regular(path, flags, for_owner)) {
    error = file.get() < 0 || fstat(file.get(), &status) != 0 ? errno : 0;
  }

  const Descriptor file;
  struct stat status {};
  int error = 0;
};

bool is_same(const struct stat& a, const struct stat& b) {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

// The file's bytes up to `limit`, or fewer where it can't be read on.
std::string bytes_of(int fd, std::size_t limit) {
  std::string bytes;
  while (bytes.size() < limit && append_next(fd, bytes) > 0) continue;
  bytes.resize(std::min(bytes.size(), limit));
  return bytes;
}

// The time of the first record, which begins the file; 0 when something else does.
std::time_t first_time(int fd) {
  std::array<char, 64> start{};
  long long time = 0;
  if (read_at(fd, start.data(), start.size() - 1, 0) <= 0) return 0;
  // NOLINTNEXTLINE(cert-err34-c): 18 digits fit
  return std::sscanf(start.data(), "\x1e{\"time\":%18lld,", &time) == 1 ? time : 0;
}

bool is_due(const OpenFile& journal, std::time_t now) {
  if (journal.error != 0 || journal.status.st_size == 0) return false;
  if (static_cast<std::size_t>(journal.status.st_size) >= journal_bytes) return true;
  const std::time_t first = first_time(journal.file.get());
  return first != 0 && first + journal_days * day <= now;
}

// Whether the journal at `path` is another file now than `journal`, which was put aside.
bool put_aside(const OpenFile& journal, const std::string& path) {
  // The lock goes with the descriptor. Whoever has it is about to rename the file.
  if (flock(journal.file.get(), LOCK_EX | LOCK_NB) != 0) return false;
  struct stat named {};
  if (lstat(path.c_str(), &named) != 0) return errno == ENOENT;
  if (!is_same(named, journal.status)) return true;
  return rename(path.c_str(), journal_put_aside(path).c_str()) == 0;
}

// Why the record is not in the file; empty when it is.
std::string write_record(const OpenFile& journal, const std::string& text) {
  if (journal.error != 0) return reason_for_no_file(journal.error);
  if (journal.status.st_nlink > 1) return "Has a second name";
  if (journal.status.st_uid != geteuid()) return "Belongs to another user";
  if (static_cast<std::size_t>(journal.status.st_size) >= most_journal_bytes)
    return "Is full, and can't be put aside";
  errno = ENOSPC;  // for a record that was taken in part
  const ssize_t written = write(journal.file.get(), text.data(), text.size());
  return written == static_cast<ssize_t>(text.size()) ? "" : std::strerror(errno);
}

std::string append(const std::string& path, const JournalRecord& record) {
  constexpr int flags = O_RDWR | O_APPEND | O_CREAT;
  const std::string text = journal_text(record);
  const OpenFile journal(path, flags);
  if (!is_due(journal, record.time) || !put_aside(journal, path))
    return write_record(journal, text);
  return write_record(OpenFile(path, flags), text);
}

void read_records(const OpenFile& file, std::time_t now, std::vector<JournalRecord>& records) {
  const std::time_t oldest = now - 2 * journal_days * day;
  for (auto& record : journal_records(bytes_of(file.file.get(), most_journal_bytes * 2)))
    if (record.time >= oldest) records.push_back(std::move(record));
}

}  // namespace

std::string document_revision(const std::string& folder) {
  const OpenFile document(rules_document_of(in_folder(folder, script_name)), O_RDONLY);
  if (document.error != 0) return "";
  const std::string text = bytes_of(document.file.get(), most_document_bytes);
  return text.size() == most_document_bytes ? "" : rules_revision(text);
}

std::string append_to_journal(const std::string& folder, const JournalRecord& record) {
  const std::string path = in_folder(folder, journal_name);
  const std::string reason = append(path, record);
  return reason.empty() ? "" : path + ": " + reason;
}

Journal read_journal(const std::string& folder, std::time_t now) {
  const std::string path = in_folder(folder, journal_name);
  // In this order: a journal that is put aside between the two is found twice, not missed.
  const OpenFile newer(path, O_RDONLY);
  const OpenFile older(journal_put_aside(path), O_RDONLY);
  Journal journal;
  if (older.error == 0 && (newer.error != 0 || !is_same(older.status, newer.status)))
    read_records(older, now, journal.records);
  if (newer.error == 0) read_records(newer, now, journal.records);
  for (const OpenFile* file : {&older, &newer})
    if (file->error != 0 && file->error != ENOENT) journal.fault = reason_for_no_file(file->error);
  return journal;
}

}  // namespace Quarrow::Delivery
