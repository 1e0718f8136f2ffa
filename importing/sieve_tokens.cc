// By code, not by locale: the words of Sieve are ASCII.
#include "importing/sieve_tokens.h"

#include <algorithm>
#include <limits>

namespace Quarrow::Importing {
namespace {

using TokenKind = SieveToken::Kind;

bool is_digit(char c) { return c >= '0' && c <= '9'; }

bool is_letter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }

char small(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

SieveToken token_of(TokenKind kind, const std::string& text = "") {
  SieveToken token;
  token.kind = kind;
  token.text = text;
  return token;
}

SieveToken fault_of(const std::string& reason) { return token_of(TokenKind::fault, reason); }

// How many bits further a number's unit makes it; -1 for no unit.
int bits_of(char unit) {
  switch (small(unit)) {
    case 'k':
      return 10;
    case 'm':
      return 20;
    case 'g':
      return 30;
    default:
      return -1;
  }
}

}  // namespace

SieveToken SieveTokens::next() {
  comment_.clear();
  const bool is_fine = skip_blanks_and_comments();
  const std::size_t line = line_;
  SieveToken found = is_fine ? token() : fault_of("a comment does not end");
  if (found.kind == TokenKind::fault) place_ = script_.size();
  found.line = line;
  found.comment = comment_;
  return found;
}

SieveToken SieveTokens::token() {
  if (place_ >= script_.size()) return {};
  const char c = script_[place_];
  if (c == '"') return quoted();
  if (is_multi_line()) return multi_line();
  if (is_digit(c)) return number();
  if (is_letter(c) || c == ':') return word();
  ++place_;
  if (std::string("()[]{},;").find(c) != std::string::npos)
    return token_of(TokenKind::punctuation, std::string(1, c));
  return fault_of("a character that does not belong here");
}

bool SieveTokens::skip_blanks_and_comments() {
  for (; place_ < script_.size(); ++place_) {
    const char c = script_[place_];
    if (c == '\n') ++line_;
    if (c == ' ' || c == '\t' || c == '\r' || c == '\n') continue;
    const bool is_bracketed = c == '/' && at(place_ + 1) == '*';
    if (c != '#' && !is_bracketed) return true;
    const std::size_t start = place_ + (is_bracketed ? 2 : 1);
    const std::size_t end = script_.find(is_bracketed ? "*/" : "\n", start);
    if (is_bracketed && end == std::string::npos) return false;
    take_comment(start, std::min(end, script_.size()));
    place_ = std::min(end, script_.size()) - (is_bracketed ? 0 : 1);
    if (is_bracketed) ++place_;
  }
  return true;
}

void SieveTokens::take_comment(std::size_t start, std::size_t end) {
  const std::string text = script_.substr(start, end - start);
  line_ += static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
  comment_ += (comment_.empty() ? "" : "\n") + text;
}

SieveToken SieveTokens::quoted() {
  SieveToken found = token_of(TokenKind::text);
  for (++place_; place_ < script_.size() && script_[place_] != '"'; ++place_) {
    if (script_[place_] == '\\' && place_ + 1 < script_.size()) found.raw += script_[place_++];
    if (script_[place_] == '\n') ++line_;
    found.raw += script_[place_];
    found.text += script_[place_];
  }
  if (place_ == script_.size()) return fault_of("a text does not end");
  ++place_;
  return found;
}

bool SieveTokens::is_multi_line() const {
  static const std::string start = "text:";
  for (std::size_t i = 0; i < start.size(); ++i)
    if (small(at(place_ + i)) != start[i]) return false;
  return true;
}

// Lines up to one that is a dot; of lines that begin with a dot, it is doubled.
SieveToken SieveTokens::multi_line() {
  SieveToken found = token_of(TokenKind::text);
  std::size_t end = script_.find('\n', place_);
  while (end != std::string::npos) {
    ++line_;
    place_ = end + 1;
    end = script_.find('\n', place_);
    std::string text = script_.substr(place_, end == std::string::npos ? end : end - place_);
    if (!text.empty() && text.back() == '\r') text.pop_back();
    if (text == ".") {
      place_ = std::min(end, script_.size());
      found.raw = found.text;
      return found;
    }
    found.text += text.substr(text.compare(0, 2, "..") == 0 ? 1 : 0) + '\n';
  }
  return fault_of("a text of several lines does not end");
}

SieveToken SieveTokens::number() {
  constexpr std::uint64_t most = std::numeric_limits<std::uint32_t>::max();
  SieveToken found = token_of(TokenKind::number);
  for (; is_digit(at(place_)); ++place_)
    found.number = std::min(most + 1, found.number * 10 + static_cast<unsigned>(at(place_) - '0'));
  if (found.number > most) return fault_of("a number is too large");
  const int bits = bits_of(at(place_));
  if (bits < 0) return found;
  ++place_;
  found.number <<= static_cast<unsigned>(bits);
  return found;
}

SieveToken SieveTokens::word() {
  const bool is_tag = at(place_) == ':';
  if (is_tag) ++place_;
  SieveToken found = token_of(is_tag ? TokenKind::tag : TokenKind::word);
  for (; is_letter(at(place_)) || is_digit(at(place_)); ++place_) found.text += small(at(place_));
  return found.text.empty() ? fault_of("a colon without a tag") : found;
}

}  // namespace Quarrow::Importing
