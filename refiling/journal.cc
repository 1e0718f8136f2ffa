// The journal's lines: words with tabs between them, the last of which is a dot.
#include "refiling/journal.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <iterator>
#include <sstream>
#include <utility>

#include "administration/locked_user.h"
#include "delivery/user_lock.h"
#include "system/file_io.h"
#include "system/printable.h"
#include "system/regular_file.h"

namespace Quarrow::Refiling {
namespace {

using Administration::Refusal;
using Administration::system_refusal;
using Kind = Step::Kind;

constexpr mode_t for_owner = 0600;

constexpr char run_word[] = "run";
constexpr char undone_word[] = "undone";
// The end of a line that was written as a whole.
constexpr char last_word[] = ".";

// By Step::Kind.
const char* const kind_words[] = {"move", "copy", "drop"};

// A tab or a line end in a name would end the word.
std::string encoded(const std::string& name) {
  static const char digits[] = "0123456789ABCDEF";
  std::string word;
  for (const char c : name) {
    const auto code = static_cast<unsigned char>(c);
    if (is_control(c) || c == '%')
      word += {'%', digits[code / 16], digits[code % 16]};
    else
      word += c;
  }
  return word;
}

std::string decoded(const std::string& word) {
  std::string name;
  for (std::size_t i = 0; i < word.size(); ++i) {
    unsigned char code = 0;
    const bool is_code =
        word[i] == '%' && i + 2 < word.size() &&
        std::from_chars(&word[i + 1], &word[i + 1] + 2, code, 16).ec == std::errc();
    name += is_code ? static_cast<char>(code) : word[i];
    if (is_code) i += 2;
  }
  return name;
}

std::string line_of(const std::vector<std::string>& words) {
  std::string line;
  for (const auto& word : words) line += encoded(word) + '\t';
  return line + last_word + '\n';
}

// The words of a line without the dot; none of a line that was cut off.
std::vector<std::string> words_of(const std::string& line) {
  std::vector<std::string> words;
  std::istringstream in(line);
  for (std::string word; std::getline(in, word, '\t');) words.push_back(word);
  if (words.empty() || words.back() != last_word) return {};
  words.pop_back();
  return words;
}

std::string line_of(const Step& step) {
  return line_of({kind_words[static_cast<int>(step.kind)], step.unique, step.from, step.to});
}

// Takes a line into the runs that are not undone.
void take(const std::vector<std::string>& words, std::vector<std::vector<Step>>& runs) {
  if (words.empty()) return;
  if (words[0] == run_word) runs.emplace_back();
  if (words[0] == undone_word && !runs.empty()) runs.pop_back();
  const auto kind = std::find(std::begin(kind_words), std::end(kind_words), words[0]);
  if (kind == std::end(kind_words) || words.size() != 4 || runs.empty()) return;
  runs.back().push_back({static_cast<Kind>(kind - std::begin(kind_words)), decoded(words[1]),
                         decoded(words[2]), decoded(words[3])});
}

// The runs that are not undone.
std::vector<std::vector<Step>> runs_in(const std::string& text) {
  std::vector<std::vector<Step>> runs;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) take(words_of(line), runs);
  return runs;
}

// Of the undone ones, too. Reading their steps as well takes much longer.
std::size_t number_of_runs(const std::string& text) {
  const std::string line = line_of({run_word});
  std::size_t count = 0;
  for (std::size_t at = text.find(line); at != std::string::npos; at = text.find(line, at + 1))
    if (at == 0 || text[at - 1] == '\n') ++count;
  return count;
}

// False when not all of the file could be read.
bool read_all(int file, std::string& text) {
  ssize_t count = 1;
  while (count > 0) count = append_next(file, text);
  return count == 0;
}

// Opens and locks the journal at `path`, which may begin at the open folder `above`. A process that
// has just replaced it leaves the lock of a file without a name.
Refusal open_locked(int above, const std::string& path, int flags,
                    std::unique_ptr<Descriptor>& file) {
  struct stat status {};
  do {
    file = std::make_unique<Descriptor>(
        open_regular_at(above, path, O_RDWR | O_APPEND | flags, for_owner));
    if (file->get() < 0)
      return {Administration::kind_of_error(errno), path, reason_for_no_file(errno)};
    if (flock(file->get(), LOCK_EX | LOCK_NB) != 0)
      return errno == EWOULDBLOCK
                 ? Refusal{Refusal::Kind::try_again, path,
                           "another process is moving this user's mail; try again later"}
                 : system_refusal(path, "can't be locked", errno);
    if (fstat(file->get(), &status) != 0) return system_refusal(path, "", errno);
  } while (status.st_nlink == 0);
  if (status.st_uid == geteuid() && status.st_nlink == 1) return {};
  return {Refusal::Kind::not_permitted, path,
          "belongs to another user, or has a second name; remove it"};
}

}  // namespace

bool has_run_to_undo(int folder) {
  const Descriptor file(open_regular_at(folder, journal_name, O_RDONLY));
  std::string text;
  if (file.get() < 0 || !read_all(file.get(), text)) return false;
  const std::string run = line_of({run_word});
  const std::string undone = line_of({undone_word});
  std::size_t runs = 0;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    line += '\n';
    if (line == run) ++runs;
    if (line == undone && runs > 0) --runs;
  }
  return runs > 0;
}

Refusal check_idle(const Administration::UserFolder& folder) {
  std::unique_ptr<Descriptor> file;
  Refusal refusal = open_locked(folder.fd(), journal_name, 0, file);
  if (refusal.kind == Refusal::Kind::missing) return {};
  refusal.object = folder.file(journal_name);
  return refusal;
}

Refusal Journal::open(const std::string& folder) {
  folder_ = folder;
  path_ = folder + '/' + journal_name;
  if (const Refusal refusal = open_locked(AT_FDCWD, path_, O_CREAT, file_)) return refusal;
  if (Delivery::look_for_user_lock(folder) == 0) return Administration::locked_refusal(folder);
  if (const Refusal refusal = synchronise_folder()) return refusal;  // it may be new there
  return end_last_line();
}

Refusal Journal::synchronise_folder() const {
  const Descriptor folder(::open(folder_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  const bool done = folder.get() >= 0 && fsync(folder.get()) == 0;
  return done ? Refusal() : system_refusal(folder_, "can't be synchronised", errno);
}

// A line that was cut off, by a full disk or when the machine stopped, tells of nothing that was
// done. It is ended, so that the next line is one.
Refusal Journal::end_last_line() {
  struct stat status {};
  char last = '\n';
  if (fstat(file_->get(), &status) != 0) return system_refusal(path_, "", errno);
  const auto size = static_cast<std::size_t>(status.st_size);
  if (size > 0 && read_at(file_->get(), &last, 1, size - 1) != 1)
    return system_refusal(path_, "can't be read", errno);
  if (last != '\n') added_ = '\n';
  return {};
}

Refusal Journal::read(std::string& text) const {
  return read_all(file_->get(), text) ? Refusal() : system_refusal(path_, "can't be read", errno);
}

Refusal Journal::read_last_run(std::optional<std::vector<Step>>& steps) const {
  std::string text;
  if (const Refusal refusal = read(text)) return refusal;
  auto runs = runs_in(text);
  if (!runs.empty()) steps = std::move(runs.back());
  return {};
}

void Journal::begin_run() { is_run_begun_ = is_run_written_ = false; }

void Journal::add(const Step& step) {
  if (!is_run_begun_) {
    is_run_begun_ = true;
    added_ += line_of({run_word});
  }
  added_ += line_of(step);
}

void Journal::add_undone() { added_ += line_of({undone_word}); }

Refusal Journal::write() {
  if (added_.empty()) return {};
  if (is_run_begun_ && !is_run_written_)
    if (const Refusal refusal = drop_old_runs()) return refusal;
  is_run_written_ = is_run_begun_;
  const bool done = write_all(file_->get(), added_) && fdatasync(file_->get()) == 0;
  added_ = done ? "" : "\n" + added_;  // a part of it may stand there
  return done ? Refusal() : system_refusal(path_, "can't be written", errno);
}

// Leaves room for the run that begins.
Refusal Journal::drop_old_runs() {
  std::string old;
  if (const Refusal refusal = read(old)) return refusal;
  if (number_of_runs(old) < kept_runs) return {};
  const auto runs = runs_in(old);
  const std::size_t dropped = runs.size() - std::min(runs.size(), kept_runs - 1);
  std::string text;
  for (std::size_t i = dropped; i < runs.size(); ++i) {
    text += line_of({run_word});
    for (const Step& step : runs[i]) text += line_of(step);
  }
  return replace(text);
}

// The new file is locked before it has the journal's name, so that this process stays alone.
Refusal Journal::replace(const std::string& text) {
  const std::string draft = path_ + ".new";
  (void)unlink(draft.c_str());  // of a process that was killed
  auto file = std::make_unique<Descriptor>(
      open_regular(draft, O_RDWR | O_CREAT | O_EXCL | O_APPEND, for_owner));
  const bool done = file->get() >= 0 && flock(file->get(), LOCK_EX | LOCK_NB) == 0 &&
                    write_all(file->get(), text) && fsync(file->get()) == 0 &&
                    std::rename(draft.c_str(), path_.c_str()) == 0;
  if (!done) {
    const Refusal refusal = system_refusal(path_, "can't be replaced", errno);
    (void)unlink(draft.c_str());
    return refusal;
  }
  file_ = std::move(file);
  return synchronise_folder();
}

}  // namespace Quarrow::Refiling
