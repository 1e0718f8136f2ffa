// A tolerant reader of address lists, and a writer that keeps to what libsieve reads.
//
// GMime's reader is no help here: it is lenient about some faults, but leaves out a mailbox with,
// say, a bracket in its name or two dots in its local part, and takes "a@b@c" for "a@b".
#include "host/zvellparser/address_salvage.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

#include "host/zvellparser/address_grammar.h"
#include "host/zvellparser/encoded_text.h"

namespace zvellparser {
namespace {

constexpr auto npos = std::string::npos;

constexpr std::size_t longest_part = 4096;   // of a mailbox: its name, its local part
constexpr std::size_t longest_domain = 255;  // RFC 5321, section 4.5.3.1.2
constexpr int most_atoms = 16;               // of a name or a local part without quotes

struct Address {
  std::string local;
  std::string domain;

  bool empty() const { return local.empty() || domain.empty(); }
};

bool is_space(char c) { return (c >= '\0' && c <= ' ') || c == '\x7f'; }

// `text` without the `leading` and `trailing` characters at its ends.
std::string trimmed(const std::string& text, const char* leading, const char* trailing) {
  const std::size_t begin = text.find_first_not_of(leading);
  const std::size_t last = text.find_last_not_of(trailing);
  return last == npos || begin > last ? "" : text.substr(begin, last + 1 - begin);
}

// `text` as it can stand in quotes: on one line, without quotes, and not ending in a backslash,
// which would keep them open.
std::string quotable(std::string text) {
  text.erase(std::remove(text.begin(), text.end(), '"'), text.end());
  std::replace_if(text.begin(), text.end(), is_space, ' ');
  return trimmed(text, " ", " \\");
}

// Whether `text` is atoms, not too many of them, with single separators between them.
bool is_atoms(const std::string& text, char separator) {
  int atoms = 0;
  std::size_t begin = 0;
  for (std::size_t end = 0; end != npos; begin = end + 1) {
    end = text.find(separator, begin);
    if (++atoms > most_atoms) return false;
    if (!is_atom(text.substr(begin, end == npos ? npos : end - begin))) return false;
  }
  return true;
}

std::string quoted_unless_atoms(const std::string& text, char separator) {
  return is_atoms(text, separator) ? text : '"' + text + '"';
}

// The labels that `text` begins with. Brackets are left out, since libsieve takes a domain literal
// for something else: it reads a@[192.0.2.1] as a@a.
std::string readable_domain(const std::string& text) {
  constexpr std::string_view domain_ends = " <>()@,;:\\";
  std::string domain;
  for (const char c : trimmed(text, " .", " .")) {
    if (domain_ends.find(c) != npos) break;
    const bool needless =
        c == '[' || c == ']' || (c == '.' && !domain.empty() && domain.back() == '.');
    if (!needless) domain += c;
  }
  return trimmed(domain, ".", ".");
}

// A domain that is too long without its first labels.
std::string end_of_domain(const std::string& domain) {
  if (domain.size() <= longest_domain) return domain;
  const std::size_t dot = domain.find('.', domain.size() - longest_domain - 1);
  return dot == npos ? end_of(domain, longest_domain) : domain.substr(dot + 1);
}

// Empty when `text` is no address.
Address split_address(const std::string& text) {
  const std::string core = trimmed(quotable(text), " @", " @.");
  const std::size_t at = core.rfind('@');
  if (at == npos) return {};
  return {quotable(beginning_of(quotable(core.substr(0, at)), longest_part)),
          end_of_domain(readable_domain(core.substr(at + 1)))};
}

std::string write_mailbox(const std::string& name, const Address& address) {
  const std::string text = quoted_unless_atoms(address.local, '.') + '@' + address.domain;
  return name.empty() ? text : quoted_unless_atoms(name, ' ') + " <" + text + '>';
}

std::string without_encoded_words(const std::string& text) {
  std::string result;
  for (const char c : text) {
    while (c == '?' && !result.empty() && result.back() == '=') result.pop_back();
    result += c;
  }
  return result;
}

// Reads a list piece by piece. An entry of it has words, an address, and words again. Where there
// is no address before a comma, the entry goes on behind it: Doe, J. <j@example.org>.
class Salvager {
 public:
  explicit Salvager(const std::string& text) : text_(text) {}

  std::string addresses() {
    while (position_ < text_.size() && !full_) read_piece();
    end_run();
    end_entry();
    return without_encoded_words(result_);
  }

 private:
  bool stands_at(std::size_t place, char c) const {
    return place < text_.size() && text_[place] == c;
  }
  bool at(char c) const { return stands_at(position_, c); }

  void read_piece() {
    const char c = text_[position_];
    if (c == '"') {
      read_quoted_string();
    } else if (c == '(') {
      read_comment();
    } else if (c == '<') {
      read_angle_address();
    } else if (c == ',' || c == ';') {
      read_separator(c);
    } else if (c == ':' || c == '>' || c == ')') {
      end_run();
      ++position_;
    } else if (is_space(c)) {
      read_space();
    } else {
      read_character(run_);
    }
  }

  // Reads a character, or an escaped character, whose backslash only counts where it escapes
  // nothing.
  void read_character(std::string& into) {
    if (text_[position_] == '\\' && position_ + 1 < text_.size()) {
      const char escaped = text_[++position_];
      if (escaped != '"' && escaped != '\\') into += '\\';
    }
    into += text_[position_++];
  }

  // The place where the quoted string or comment that begins here is closed. When nothing closes
  // it, the place where the search ends: behind a mailbox that is a list's entry, or with the text.
  std::size_t find_close(char close) const {
    std::size_t i = position_ + 1;
    for (; i < text_.size() && text_[i] != close; ++i) {
      if (text_[i] == '\\') ++i;
      if (text_.compare(i, 2, ">,") == 0) break;
    }
    return std::min(i, text_.size());
  }

  std::string read_enclosed(std::size_t close) {
    std::string content;
    for (++position_; position_ < close;) read_character(content);
    ++position_;
    return content;
  }

  void skip_space() {
    while (position_ < text_.size() && is_space(text_[position_])) ++position_;
  }

  void read_quoted_string() {
    const std::size_t close = find_close('"');
    if (!stands_at(close, '"')) {
      end_run();
      ++position_;
      return;
    }
    const std::string content = read_enclosed(close);
    skip_space();
    const bool begins_address = at('@') || at('.');
    if (!begins_address || run_.empty() || run_.back() != '.') end_run();
    if (begins_address)
      run_ += content;
    else
      add_words(content);
  }

  void read_comment() {
    end_run();
    const std::size_t close = position_ < unclosed_until_ ? unclosed_until_ : find_close(')');
    if (stands_at(close, ')')) {
      add_words(read_enclosed(close));
    } else {
      unclosed_until_ = close;
      ++position_;
    }
  }

  // Reads the text in the quotes that begin here into `inside`. A quote that nothing closes is
  // passed over.
  void read_quotes_within(std::string& inside) {
    const std::size_t close = find_close('"');
    if (stands_at(close, '"'))
      inside += read_enclosed(close);
    else
      ++position_;
  }

  // The text in angle brackets, up to where it must end when nothing closes them. A part that ends
  // in a colon, a route or a scheme such as "mailto:", does not belong to the address.
  void read_angle_address() {
    constexpr std::string_view ends = "<>,;";
    end_run();
    ++position_;
    std::string inside;
    while (position_ < text_.size() && ends.find(text_[position_]) == npos) {
      if (at('"')) {
        read_quotes_within(inside);
      } else if (!at(':')) {
        read_character(inside);
      } else if (inside.find('@', 1) == npos) {
        inside.clear();
        ++position_;
      } else {
        break;
      }
    }
    if (at('>')) ++position_;
    take_address(inside, true);
  }

  void read_separator(char separator) {
    end_run();
    ++position_;
    if (!address_.empty())
      end_entry();
    else if (separator == ';')
      name_.clear();
    else if (!name_.empty())
      name_ += ',';
  }

  // Blanks beside an "@" are no end.
  void read_space() {
    skip_space();
    if (run_.empty() || (run_.back() != '@' && !at('@'))) end_run();
  }

  void end_run() {
    if (run_.empty()) return;
    take_address(run_, false);
    run_.clear();
  }

  // An address without angle brackets is one of the words after all when an address with brackets
  // follows.
  void take_address(const std::string& text, bool in_brackets) {
    const Address address = split_address(text);
    if (address.empty()) return add_words(text);
    if (in_brackets && !bare_.empty())
      name_.insert(bare_begin_, ' ' + bare_);
    else
      end_entry();
    address_ = address;
    bare_ = in_brackets ? "" : text;
    bare_begin_ = name_.size();
  }

  void add_words(const std::string& words) {
    const std::string shown = quotable(words);
    if (!shown.empty()) name_ += ' ' + shown;
  }

  void end_entry() {
    if (address_.empty()) return;
    add_mailbox(write_mailbox(quotable(beginning_of(quotable(name_), longest_part)), address_));
    address_ = {};
    name_.clear();
    bare_.clear();
  }

  void add_mailbox(const std::string& mailbox) {
    constexpr std::string_view between = ", ";
    cost_ += reading_cost(mailbox).value_or(0);
    full_ = full_ || cost_ > most_reading_cost ||
            result_.size() + between.size() + mailbox.size() > longest_value;
    if (full_) return;
    if (!result_.empty()) result_ += between;
    result_ += mailbox;
  }

  const std::string& text_;
  std::size_t position_ = 0;
  std::size_t unclosed_until_ = 0;  // no comment that begins before here is closed

  std::string run_;  // characters without blanks, the first of a word or an address

  std::string name_;
  Address address_;
  std::string bare_;            // the address as written, without angle brackets around it
  std::size_t bare_begin_ = 0;  // where it stood in the name

  std::string result_;
  std::size_t cost_ = 0;  // of reading it
  bool full_ = false;     // no other mailbox has room
};

}  // namespace

std::string salvage_addresses(const std::string& text) {
  const std::string addresses = Salvager(text).addresses();
  if (!addresses.empty()) return addresses;
  // In quotes, however plain: libsieve takes quadratic time and memory to join the words of a name.
  const std::string name =
      quotable(beginning_of(without_encoded_words(quotable(text)), longest_part));
  return name.empty() ? "" : '"' + name + "\":;";
}

}  // namespace zvellparser
