// The journal's lines: words with tabs between them, the last of which is a dot.
#include "refiling/journal.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <iterator>
#include <sstream>
#include <utility>

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

}  // namespace

Refusal Journal::open(const std::string& folder) {
  path_ = folder + '/' + journal_name;
  file_.emplace(open_regular(path_, O_RDWR | O_CREAT | O_APPEND, for_owner));
  if (file_->get() < 0)
    return {Administration::kind_of_error(errno), path_, reason_for_no_file(errno)};
  struct stat status {};
  if (fstat(file_->get(), &status) != 0) return system_refusal(path_, "", errno);
  if (status.st_uid != geteuid() || status.st_nlink != 1)
    return {Refusal::Kind::not_permitted, path_,
            "belongs to another user, or has a second name; remove it"};
  if (flock(file_->get(), LOCK_EX | LOCK_NB) != 0)
    return errno == EWOULDBLOCK
               ? Refusal{Refusal::Kind::try_again, path_,
                         "another process is moving this user's mail; try again later"}
               : system_refusal(path_, "can't be locked", errno);
  const Descriptor parent(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (parent.get() < 0 || fsync(parent.get()) != 0)  // the journal may be new there
    return system_refusal(folder, "can't be synchronised", errno);
  return end_last_line();
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

Refusal Journal::read_last_run(std::optional<std::vector<Step>>& steps) const {
  std::string text;
  ssize_t count = 1;
  while (count > 0) count = append_next(file_->get(), text);
  if (count < 0) return system_refusal(path_, "can't be read", errno);
  std::vector<std::vector<Step>> runs;  // those that are not undone
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) take(words_of(line), runs);
  if (!runs.empty()) steps = std::move(runs.back());
  return {};
}

void Journal::begin_run() { is_run_begun_ = false; }

void Journal::add(const Step& step) {
  if (!is_run_begun_) {
    is_run_begun_ = true;
    added_ += line_of({run_word});
  }
  added_ += line_of({kind_words[static_cast<int>(step.kind)], step.unique, step.from, step.to});
}

void Journal::add_undone() { added_ += line_of({undone_word}); }

Refusal Journal::write() {
  if (added_.empty()) return {};
  const bool done = write_all(file_->get(), added_) && fdatasync(file_->get()) == 0;
  added_ = done ? "" : "\n" + added_;  // a part of it may stand there
  return done ? Refusal() : system_refusal(path_, "can't be written", errno);
}

}  // namespace Quarrow::Refiling
