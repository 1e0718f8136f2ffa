// A recogniser of the address language of libsieve 2.2.6.
#include "host/zvellparser/address_grammar.h"

#include <cstring>

namespace zvellparser {
namespace {

constexpr char blanks[] = " \t\n\r";
constexpr char atom_ends[] = " \t\n\r<>()@,;:\".[]\\";

// libsieve's parser gives up at 10,000 symbols on its stack. A hop puts three on it.
constexpr int longest_route = 3000;

// What libsieve takes for a mailbox, and for a piece of it beside the texts; measured.
constexpr std::size_t mailbox_cost = 30;
constexpr std::size_t piece_cost = 32;
constexpr std::size_t copies = 2;  // of the text up to a piece

enum class Token { end, atom, quoted_string, domain_literal, punctuation, malformed };

// Splits a text into tokens, with one token of look-ahead.
class Scanner {
 public:
  explicit Scanner(const char* text) : next_(text) { advance(); }

  bool at(Token token) const { return token_ == token; }
  bool at(char punctuation) const { return at(Token::punctuation) && punctuation_ == punctuation; }
  bool at_word() const { return at(Token::atom) || at(Token::quoted_string); }

  // In bytes, of the token that it is at.
  std::size_t length() const { return static_cast<std::size_t>(next_ - begin_); }

  void advance() {
    const bool found = skip_blanks_and_comments();
    begin_ = next_;
    token_ = found ? scan_token() : Token::malformed;
  }

 private:
  bool skip_blanks_and_comments() {
    next_ += std::strspn(next_, blanks);
    while (*next_ == '(') {
      if (!skip_comment()) return false;
      next_ += std::strspn(next_, blanks);
    }
    return true;
  }

  bool skip_comment() {
    std::size_t depth = 0;
    do {
      if (*next_ == '(') ++depth;
      if (*next_ == ')') --depth;
      if (*next_ == '\\') ++next_;
      if (*next_ == '\0') return false;
      ++next_;
    } while (depth > 0);
    return true;
  }

  Token scan_token() {
    if (*next_ == '\0') return Token::end;
    if (*next_ == '"') return scan_quoted_string();
    if (*next_ == '[') return scan_domain_literal();
    if (const std::size_t length = std::strcspn(next_, atom_ends)) {
      next_ += length;
      return Token::atom;
    }
    punctuation_ = *next_++;
    return Token::punctuation;
  }

  Token scan_quoted_string() {
    const char* const content = ++next_;
    while (*next_ != '\0' && (*next_ != '"' || next_[-1] == '\\')) ++next_;
    if (*next_ == '\0' || next_ == content) return Token::malformed;
    ++next_;
    return Token::quoted_string;
  }

  // Between the brackets libsieve passes over brackets, line ends, and a backslash before a line
  // end. A literal has one run of text: a second run behind one of these is too much.
  Token scan_domain_literal() {
    int runs = 0;
    bool within_run = false;
    for (++next_; *next_ != ']'; ++next_) {
      const bool escape = *next_ == '\\' && next_[1] != '\n';
      const bool text = escape || std::strchr("[\n\r\\", *next_) == nullptr;
      if (escape) ++next_;
      if (*next_ == '\0') return Token::malformed;
      if (text && !within_run) ++runs;
      within_run = text;
    }
    ++next_;
    return runs == 1 ? Token::domain_literal : Token::malformed;
  }

  const char* next_;
  const char* begin_ = next_;  // of the token
  Token token_ = Token::end;
  char punctuation_ = '\0';
};

// Reads the grammar. Each member reads one construct and says whether it was there.
class Parser {
 public:
  explicit Parser(const char* text) : scanner_(text) {}

  bool text() {
    if (scanner_.at(Token::end)) return true;
    const int words = phrase();
    if (words == 1 && scanner_.at(Token::end)) return true;
    if (words > 0 && take(':')) return group_members() && scanner_.at(Token::end);
    return mailboxes_after(words) && scanner_.at(Token::end);
  }

  // Of what was read.
  std::size_t cost() const { return cost_; }

 private:
  bool take(char punctuation) {
    if (!scanner_.at(punctuation)) return false;
    scanner_.advance();
    return true;
  }

  // Takes a word or a label, which libsieve joins to the pieces before it in a new text.
  void take_piece() {
    joined_ += scanner_.length();
    cost_ += piece_cost + copies * joined_;
    scanner_.advance();
  }

  bool word() {
    if (!scanner_.at_word()) return false;
    take_piece();
    return true;
  }

  // Up to two are told apart: none, one, more.
  int phrase() {
    int words = 0;
    joined_ = 0;
    while (word()) words = words == 0 ? 1 : 2;
    return words;
  }

  bool group_members() { return take(';') || (mailboxes_after(phrase()) && take(';')); }

  // A list of mailboxes, of which the words that the first begins with are read.
  bool mailboxes_after(int words) {
    if (!mailbox_after(words)) return false;
    while (take(','))
      if (!mailbox_after(phrase())) return false;
    return true;
  }

  bool mailbox_after(int words) {
    cost_ += mailbox_cost;
    if (take('<')) return route() && word() && address_after_word() && take('>');
    return words == 1 && address_after_word();
  }

  bool address_after_word() {
    while (take('.'))
      if (!word()) return false;
    return take('@') && domain();
  }

  bool domain() {
    joined_ = 0;
    return labels();
  }

  bool labels() {
    do {
      if (!scanner_.at(Token::atom) && !scanner_.at(Token::domain_literal)) return false;
      take_piece();
    } while (take('.'));
    return true;
  }

  // A route, or nothing. libsieve joins all of its domains.
  bool route() {
    joined_ = 0;
    if (!scanner_.at('@')) return true;
    int hops = 0;
    do {
      if (!take('@') || !labels() || ++hops > longest_route) return false;
    } while (take(','));
    joined_ = 0;
    return take(':');
  }

  Scanner scanner_;
  std::size_t joined_ = 0;  // bytes of the phrase, local part, domain or route that is being read
  std::size_t cost_ = 0;
};

}  // namespace

bool is_atom(const std::string& word) {
  return !word.empty() && word.find_first_of(atom_ends) == std::string::npos;
}

bool interpreter_reads(const std::string& text) { return reading_cost(text).has_value(); }

std::optional<std::size_t> reading_cost(const std::string& text) {
  Parser parser(text.c_str());
  if (!parser.text()) return std::nullopt;
  return parser.cost();
}

}  // namespace zvellparser
