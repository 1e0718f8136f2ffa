// Paths and parameters.
#include "lmtp/mail_path.h"

#include <algorithm>
#include <sstream>

namespace Quarrow::Lmtp {
namespace {

const char digits_and_letters[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";

bool is_one_of(char c, const std::string& characters) {
  return characters.find(c) != std::string::npos;
}

bool is_eight_bit_byte(char c) { return static_cast<unsigned char>(c) > 127; }

bool is_atom_character(char c) {
  static const std::string atom = std::string(digits_and_letters) + "!#$%&'*+-/=?^_`{|}~";
  return is_eight_bit_byte(c) || is_one_of(c, atom);
}

// Two dots in a row, or a dot at an end, are not in the grammar, yet addresses with them exist.
bool needs_no_quotes(const std::string& local) {
  return !local.empty() &&
         std::all_of(
             local.begin(), local.end(), [](char c) { return c == '.' || is_atom_character(c); });
}

bool is_domain(const std::string& domain) {
  static const std::string plain = std::string(digits_and_letters) + "-._";
  if (domain.empty()) return false;
  const bool literal = domain.size() > 2 && domain.front() == '[' && domain.back() == ']';
  const std::string allowed = literal ? plain + "[]:" : plain;
  return std::all_of(domain.begin(), domain.end(),
                     [&allowed](char c) { return is_eight_bit_byte(c) || is_one_of(c, allowed); });
}

// Walks over the text between angle brackets.
class PathReader {
 public:
  explicit PathReader(const std::string& text) : text_(text) {}

  // Reads the path from `start`, where its "<" is; false when that is no path.
  bool read(std::size_t start) {
    at_ = start;
    if (!take('<')) return false;
    if (peek() == '@' && !skip_route()) return false;
    if (take('>')) return true;
    if (!read_local()) return false;
    if (take('@') && !read_domain()) return false;
    return take('>');
  }

  const std::string& mailbox() const { return mailbox_; }
  std::size_t end() const { return at_; }

 private:
  // NUL stands for the end: the session refuses lines that have one.
  char peek() const { return at_ < text_.size() ? text_[at_] : '\0'; }

  bool take(char c) {
    if (peek() != c) return false;
    ++at_;
    return true;
  }

  // A server ignores "@one,@two:" before the mailbox (RFC 5321, appendix C).
  bool skip_route() {
    const std::size_t colon = text_.find_first_of(":<> ", at_);
    if (colon == std::string::npos || text_[colon] != ':') return false;
    at_ = colon + 1;
    return peek() != '>';
  }

  bool read_local() {
    std::string local;
    if (!(peek() == '"' ? read_quoted(local) : read_bare(local))) return false;
    mailbox_ = needs_no_quotes(local) ? local : quoted(local);
    return true;
  }

  bool read_bare(std::string& local) {
    while (is_atom_character(peek()) || peek() == '.') local += text_[at_++];
    return !local.empty();
  }

  bool read_quoted(std::string& local) {
    ++at_;
    while (at_ < text_.size() && peek() != '"') {
      if (peek() == '\\') ++at_;
      if (at_ < text_.size()) local += text_[at_++];
    }
    return take('"');
  }

  static std::string quoted(const std::string& local) {
    std::string out = "\"";
    for (const char c : local) {
      if (c == '"' || c == '\\') out += '\\';
      out += c;
    }
    return out + '"';
  }

  bool read_domain() {
    const std::size_t end = std::min(text_.find('>', at_), text_.size());
    const std::string domain = text_.substr(at_, end - at_);
    at_ = end;
    mailbox_ += '@' + domain;
    return is_domain(domain);
  }

  const std::string& text_;
  std::size_t at_ = 0;
  std::string mailbox_;
};

bool read_parameters(const std::string& text, std::map<std::string, std::string>& parameters) {
  if (!text.empty() && text.front() != ' ') return false;
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    const std::size_t equals = word.find('=');
    const std::string value = equals == std::string::npos ? "" : word.substr(equals + 1);
    const bool complete = equals != 0 && (equals == std::string::npos || !value.empty());
    if (!complete || !parameters.emplace(ascii_upper(word.substr(0, equals)), value).second)
      return false;
  }
  return true;
}

}  // namespace

std::optional<MailPath> parse_mail_path(const std::string& arguments, const std::string& label) {
  if (ascii_upper(arguments.substr(0, label.size())) != label) return std::nullopt;
  PathReader reader(arguments);
  if (!reader.read(std::min(arguments.find_first_not_of(' ', label.size()), arguments.size())))
    return std::nullopt;
  MailPath path;
  path.mailbox = reader.mailbox();
  if (!read_parameters(arguments.substr(reader.end()), path.parameters)) return std::nullopt;
  return path;
}

bool is_eight_bit(const std::string& text) {
  return std::any_of(text.begin(), text.end(), is_eight_bit_byte);
}

std::string ascii_upper(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
  });
  return text;
}

}  // namespace Quarrow::Lmtp
