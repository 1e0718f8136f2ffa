// Statements: "if" with its blocks, "to" and others up to the end of their line.
#include "importing/maildrop_import.h"

#include <algorithm>
#include <cctype>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "importing/condition.h"
#include "importing/mail_program.h"
#include "system/printable.h"

namespace Quarrow::Importing {
namespace {

using Administration::Refusal;
using MessageFilters::Action;

constexpr std::size_t most_levels = 32;  // of parentheses and blocks inside each other

struct Token {
  enum class Kind { word, text, pattern, sign, line_end, end };
  Kind kind = Kind::end;
  std::string text;   // of a pattern: without its slashes
  std::string flags;  // of a pattern
  std::size_t line = 0;
};

bool is_word_character(char c) {
  return std::string_view(" \t\r\n(){};!&|\"'`#").find(c) == std::string_view::npos;
}

class Tokens {
 public:
  explicit Tokens(const std::string& text) : text_(text) {}

  // All tokens, with an end behind them; nothing when a text or a pattern does not end, in `line_`.
  std::optional<std::vector<Token>> all() {
    std::vector<Token> tokens;
    while (skip_blanks()) {
      Token token;
      token.line = line_;
      if (!read(token)) return std::nullopt;
      tokens.push_back(token);
    }
    tokens.emplace_back();
    tokens.back().line = line_;
    return tokens;
  }

  std::size_t line() const { return line_; }

 private:
  char at(std::size_t place) const { return place < text_.size() ? text_[place] : '\0'; }

  // Whether there is anything more. A backslash at its end continues a line.
  bool skip_blanks() {
    for (; place_ < text_.size(); ++place_) {
      const char c = text_[place_];
      if (c == '#') {
        place_ = std::min(text_.find('\n', place_), text_.size());
        return place_ < text_.size();
      }
      if (c == '\\' && at(place_ + 1) == '\n') {
        ++line_;
        ++place_;
      } else if (c != ' ' && c != '\t' && c != '\r') {
        return true;
      }
    }
    return false;
  }

  bool read(Token& token) {
    const char c = text_[place_];
    if (c == '"' || c == '\'' || c == '`') return read_quoted(c, Token::Kind::text, token);
    if (c == '/') {
      if (!read_quoted('/', Token::Kind::pattern, token)) return false;
      if (at(place_) == ':')
        for (++place_; std::isalpha(static_cast<unsigned char>(at(place_))); ++place_)
          token.flags += at(place_);
      return true;
    }
    if (!is_word_character(c)) return read_sign(c, token);
    token.kind = Token::Kind::word;
    for (; place_ < text_.size() && is_word_character(text_[place_]); ++place_)
      token.text += text_[place_];
    return true;
  }

  bool read_sign(char c, Token& token) {
    token.kind = c == '\n' ? Token::Kind::line_end : Token::Kind::sign;
    token.text = c;
    if (c == '\n') ++line_;
    ++place_;
    if ((c == '&' || c == '|') && at(place_) == c) token.text += text_[place_++];
    return true;
  }

  // A backslash keeps the next character from ending the text, and stays in a pattern.
  bool read_quoted(char end, Token::Kind kind, Token& token) {
    token.kind = kind;
    for (++place_; place_ < text_.size() && text_[place_] != end; ++place_) {
      if (text_[place_] == '\n') return false;
      if (text_[place_] == '\\' && place_ + 1 < text_.size()) {
        if (kind == Token::Kind::pattern && text_[place_ + 1] != end) token.text += '\\';
        ++place_;
      }
      token.text += text_[place_];
    }
    return place_++ < text_.size();
  }

  const std::string& text_;
  std::size_t place_ = 0;
  std::size_t line_ = 1;
};

class MaildropImporter {
 public:
  MaildropImporter(std::vector<Token> tokens, ImportedRules& rules)
      : tokens_(std::move(tokens)), rules_(rules) {}

  void read() {
    while (skip_line_ends(), !is_end())
      if (is_word("if"))
        read_chain();
      else
        read_statement();
  }

 private:
  using Kind = Token::Kind;

  const Token& token() const { return tokens_[at_]; }
  bool is_end() const { return token().kind == Kind::end; }
  bool is_word(const char* word) const {
    return token().kind == Kind::word && token().text == word;
  }
  bool is_sign(const char* sign) const {
    return token().kind == Kind::sign && token().text == sign;
  }
  void advance() { at_ += is_end() ? 0 : 1; }
  bool take(const char* sign) {
    const bool is_there = is_sign(sign);
    if (is_there) advance();
    return is_there;
  }
  void skip_line_ends() {
    while (token().kind == Kind::line_end || is_sign(";")) advance();
  }

  void lose(std::size_t line, const std::string& reason) {
    rules_.losses.push_back({line, draft_.name, reason});
  }

  // A statement outside of any condition. Variables that are set count for what they are used for.
  void read_statement() {
    draft_ = {};
    const Token start = token();
    if (is_word("to")) {
      begin(start.line);
      draft_.condition = all_of({});
      read_target();
      if (!is_left_out_) add_rule(draft_, rules_);
      return;
    }
    lose(start.line, '"' + shortened(start.text) + "\" has no equal; it is left out");
    skip_statement();
  }

  void begin(std::size_t line) {
    draft_ = {};
    draft_.line = line;
    draft_.name = "Rule of line " + std::to_string(line);
    is_left_out_ = false;
  }

  void leave_out(std::size_t line, const std::string& reason) {
    is_left_out_ = true;
    lose(line, reason + "; the rule is left out");
  }

  // Up to the end of the line, and of a block that begins there or behind it.
  void skip_statement() {
    while (!is_end() && token().kind != Kind::line_end && !is_sign("{") && !is_sign("}")) advance();
    skip_line_ends();
    if (is_sign("{"))
      skip_block();
    else if (is_sign("}"))
      advance();
  }

  void skip_block() {
    std::size_t depth = 0;
    do {
      if (is_sign("{")) ++depth;
      if (is_sign("}")) --depth;
      advance();
    } while (depth > 0 && !is_end());
  }

  void read_chain() {
    do {
      begin(token().line);
      const bool is_else = is_word("else");
      advance();
      draft_.condition = all_of({});
      if (!is_else) read_test();
      skip_line_ends();
      read_block();
      if (!is_left_out_) add_rule(draft_, rules_);
      skip_line_ends();
    } while (is_word("elsif") || is_word("else"));
  }

  // The condition in parentheses. What can't be read is skipped up to their end.
  void read_test() {
    const std::size_t start = at_;
    const std::size_t line = token().line;
    if (take("(")) {
      if (const auto condition = read_any(0); condition && take(")")) {
        draft_.condition = *condition;
        return;
      }
    }
    leave_out(token().line, "the condition has no equal");
    at_ = start;
    std::size_t depth = 0;
    do {
      if (is_sign("(")) ++depth;
      if (is_sign(")") && depth > 0) --depth;
      if (depth == 0 && token().line > line) return;
      advance();
    } while (!is_end() && !is_sign("{") && (depth > 0 || token().kind != Kind::line_end));
  }

  std::optional<Condition> read_any(std::size_t level) { return read_list(level, "||"); }

  std::optional<Condition> read_list(std::size_t level, const std::string& sign) {
    std::vector<Condition> parts;
    do {
      skip_line_ends();
      auto part = sign == "||" ? read_list(level, "&&") : read_single(level);
      if (!part) return std::nullopt;
      parts.push_back(std::move(*part));
      skip_line_ends();
    } while (take(sign.c_str()));
    return sign == "||" ? any_of(std::move(parts)) : all_of(std::move(parts));
  }

  std::optional<Condition> read_single(std::size_t level) {
    if (level > most_levels) return std::nullopt;
    if (take("!")) {
      auto part = read_single(level + 1);
      return part ? std::optional<Condition>(negated(std::move(*part))) : std::nullopt;
    }
    if (take("(")) {
      auto part = read_any(level + 1);
      return part && take(")") ? part : std::nullopt;
    }
    if (token().kind != Kind::pattern) return std::nullopt;
    const Token pattern = token();
    if (pattern.flags.find_first_not_of("hD") != std::string::npos) return std::nullopt;
    const auto condition =
        header_line_condition(pattern.text, pattern.flags.find('D') != std::string::npos);
    if (condition) advance();
    return condition;
  }

  // "{ to folder }", or one statement without braces.
  void read_block() {
    const std::size_t line = token().line;
    const bool is_braced = take("{");
    skip_line_ends();
    if (!is_word("to")) {
      leave_out(token().line, '"' + shortened(token().text) + "\" has no equal");
      if (is_braced)
        skip_rest();
      else
        skip_statement();
      return;
    }
    read_target();
    skip_line_ends();
    if (is_braced && !take("}")) {
      lose(line, "statements behind \"to\" are never run; they are left out");
      skip_rest();
    }
  }

  // Up to the brace that closes the block around this place.
  void skip_rest() {
    while (!is_end() && !take("}"))
      if (is_sign("{"))
        skip_block();
      else
        advance();
  }

  void read_target() {
    advance();
    const Token target = token();
    advance();
    const char first = target.text.empty() ? '\0' : target.text.front();
    if (first == '!' || first == '|') {
      lose(target.line, '"' + shortened(target.text) + "\" has no equal; it is left out");
      draft_.actions = {{Action::MOVE, "INBOX", ""}};
    } else if (target.text == "/dev/null") {
      lose(target.line, "/dev/null has no equal; delete, which files into Trash, takes its place");
      draft_.actions = {{Action::DELETE, "", ""}};
    } else if (const auto folder = folder_at(target.text);
               folder && (target.kind == Kind::text || target.kind == Kind::word)) {
      draft_.actions = {{Action::MOVE, *folder, ""}};
    } else {
      leave_out(target.line, '"' + shortened(target.text) + "\" is no folder here");
    }
  }

  std::vector<Token> tokens_;
  ImportedRules& rules_;
  std::size_t at_ = 0;
  RuleDraft draft_;
  bool is_left_out_ = false;
};

}  // namespace

Refusal read_maildrop(const std::string& text, ImportedRules& rules) {
  Tokens tokens(text);
  const auto all = tokens.all();
  if (!all)
    return {Refusal::Kind::wrong_rule, "line " + std::to_string(tokens.line()),
            "a text or a pattern does not end"};
  MaildropImporter(*all, rules).read();
  return {};
}

}  // namespace Quarrow::Importing
