// One pass over a document that finds its markup exactly where ezXML will find it.
#include "message_filters/xml_text.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

namespace Quarrow::MessageFilters {

namespace {

// Stands for "&". This byte itself is written as the reference to it.
const char reference_mark = '\x01';
const char blanks[] = " \t\n";

// Whether `c` does not go to ezXML as it is, which would turn a vertical tab or a form feed in an
// attribute into a blank.
bool is_special(char c) { return c == '&' || c == reference_mark || c == '\v' || c == '\f'; }

// How many steps ezXML may take from element to element while it builds the rows of children, each
// of which it walks from the start for every new child: twice as many as the longest row costs.
constexpr std::size_t most_steps = most_xml_children * most_xml_children;
// Comparing or measuring this many bytes takes no longer than one step.
constexpr std::size_t bytes_per_step = 64;

constexpr std::uint32_t last_code_point = 0x10FFFF;

// The text that a reference stands for, and the reference's own length.
struct Reference {
  std::string text;
  std::size_t length;  // with the ";", without the "&"
};

// The one to four bytes of a code point (RFC 3629).
std::string utf8(std::uint32_t code) {
  if (code < 0x80) return std::string(1, static_cast<char>(code));
  const int more = code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
  const std::uint32_t head = 0xFFu << (7 - more) & 0xFFu;
  std::string bytes(1, static_cast<char>(head | code >> (6 * more)));
  for (int i = more - 1; i >= 0; --i) bytes += static_cast<char>(0x80 | (code >> (6 * i) & 0x3F));
  return bytes;
}

// The character reference at the start of `text`, which begins with "#".
std::optional<Reference> character_reference(std::string_view text) {
  const bool hexadecimal = text.substr(1, 1) == "x";
  const char* const digits = text.data() + (hexadecimal ? 2 : 1);
  const char* const end = text.data() + text.size();
  std::uint32_t code = 0;
  const auto number = std::from_chars(digits, end, code, hexadecimal ? 16 : 10);
  if (number.ec != std::errc() || number.ptr == end || *number.ptr != ';') return std::nullopt;
  if (code < 1 || code > last_code_point) return std::nullopt;
  return Reference{utf8(code), static_cast<std::size_t>(number.ptr + 1 - text.data())};
}

// The reference at the start of `text`, behind its "&".
std::optional<Reference> reference(std::string_view text) {
  static const struct {
    std::string_view name;
    const char* text;
  } entities[] = {{"lt;", "<"}, {"gt;", ">"}, {"quot;", "\""}, {"apos;", "'"}, {"amp;", "&"}};

  if (text.substr(0, 1) == "#") return character_reference(text);
  for (const auto& entity : entities) {
    if (text.substr(0, entity.name.size()) != entity.name) continue;
    return Reference{entity.text, entity.name.size()};
  }
  return std::nullopt;
}

bool has_bad_character_reference(const std::string& text) {
  const std::string_view all(text);
  for (auto at = all.find("&#"); at != all.npos; at = all.find("&#", at + 1))
    if (!character_reference(all.substr(at + 1))) return true;
  return false;
}

bool has_internal_subset(const std::string& text) {
  const auto doctype = text.find("<!DOCTYPE");
  return doctype != text.npos && text.find('[', doctype) != text.npos;
}

std::string with_plain_line_ends(const std::string& text) {
  std::string plain;
  plain.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool first_of_two = text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n';
    if (!first_of_two) plain += text[i] == '\r' ? '\n' : text[i];
  }
  return plain;
}

class Rewriter {
 public:
  explicit Rewriter(const std::string& text) : text_(text) { out_.reserve(text.size()); }

  // The rewritten text; nothing when the text is refused.
  std::optional<std::string> rewrite() {
    while (at_ < text_.size())
      if (!(text_[at_] == '<' ? markup() : content())) return std::nullopt;
    return std::move(out_);
  }

 private:
  struct Element {
    std::size_t children;
    std::size_t text;  // bytes so far
  };

  bool starts_with(std::string_view prefix) const {
    return text_.compare(at_, prefix.size(), prefix) == 0;
  }

  bool markup() {
    if (starts_with("</")) return close_tag();
    if (starts_with("<!--")) return comment();
    if (starts_with("<![CDATA[")) return cdata();
    if (starts_with("<!DOCTYPE")) return skip_behind(">", at_);
    if (starts_with("<?")) return skip_behind("?>", at_ + 1);
    if (starts_tag()) return open_tag();
    return ++at_ == text_.size();  // ezXML overlooks a "<" at the end
  }

  bool starts_tag() const {
    if (at_ + 1 == text_.size()) return false;
    const char c = text_[at_ + 1];
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == ':' ||
           static_cast<unsigned char>(c) >= 0x80;
  }

  // Text outside the root is dropped: with it, a byte FF could come to stand first.
  bool content() {
    const std::size_t start = at_;
    const std::size_t end = find_any("<", at_);
    if (open_.empty()) {
      at_ = end;
    } else {
      copy(end);
      open_.back().text += end - start;
    }
    return true;
  }

  bool comment() {
    const auto end = text_.find("--", at_ + 4);
    if (end == text_.npos || text_.compare(end, 3, "-->") != 0) return false;
    at_ = end + 3;
    return true;
  }

  bool cdata() {
    const auto start = at_ + std::strlen("<![CDATA[");
    const auto end = text_.find("]]>", start);
    if (end == text_.npos || open_.empty()) return false;
    for (at_ = start; at_ < end; ++at_) append_literal(text_[at_]);
    open_.back().text += end - start;
    at_ = end + 3;
    return true;
  }

  bool skip_behind(const char* end, std::size_t from) {
    const auto found = text_.find(end, from);
    if (found == text_.npos) return false;
    at_ = found + std::strlen(end);
    return true;
  }

  bool close_tag() {
    const auto name_end = find_any(" \t\n>", at_ + 2);
    const auto end = skip_blanks(name_end);
    if (end == text_.size() || open_.empty()) return false;
    open_.pop_back();
    copy(end + 1);
    return true;
  }

  bool open_tag() {
    const auto name_end = find_any(" \t\n/>", at_ + 1);
    auto end = skip_blanks(name_end);
    while (end < text_.size() && text_[end] != '/' && text_[end] != '>') end = skip_attribute(end);
    const bool empty = text_.compare(end, 2, "/>") == 0;
    if (!empty && text_.compare(end, 1, ">") != 0) return false;
    if (!enter(name_end - at_)) return false;
    if (empty) open_.pop_back();
    copy(end + (empty ? 2 : 1));
    return true;
  }

  // The end of the attribute at `from` and the blanks behind it. A value without quotes is an
  // attribute of its own to ezXML.
  std::size_t skip_attribute(std::size_t from) const {
    const auto name_end = find_any(" \t\n=/>", from);
    if (name_end == text_.size() || text_[name_end] == '/' || text_[name_end] == '>')
      return name_end;
    const auto value = text_.find_first_not_of(" \t\n=", name_end);
    if (value == text_.npos) return text_.size();
    if (text_[value] != '"' && text_[value] != '\'') return value;
    const auto close = text_.find(text_[value], value + 1);
    return close == text_.npos ? text_.size() : skip_blanks(close + 1);
  }

  // Counts an element whose name has `name_length` bytes. False when that passes a bound.
  bool enter(std::size_t name_length) {
    if (open_.size() == most_xml_depth || ++elements_ > most_xml_elements) return false;
    if (!open_.empty()) {
      Element& parent = open_.back();
      steps_ += parent.children * (1 + name_length / bytes_per_step);
      steps_ += parent.text / bytes_per_step;
      if (++parent.children > most_xml_children || steps_ > most_steps) return false;
    }
    open_.push_back({0, 0});
    return true;
  }

  std::size_t find_any(const char* characters, std::size_t from) const {
    const auto found = text_.find_first_of(characters, from);
    return found == text_.npos ? text_.size() : found;
  }

  std::size_t skip_blanks(std::size_t from) const {
    const auto found = text_.find_first_not_of(blanks, from);
    return found == text_.npos ? text_.size() : found;
  }

  void copy(std::size_t end) {
    while (at_ < end) {
      const auto begin = text_.begin() + static_cast<std::ptrdiff_t>(at_);
      const auto plain =
          std::find_if(begin, begin + static_cast<std::ptrdiff_t>(end - at_), is_special);
      out_.append(begin, plain);
      at_ = static_cast<std::size_t>(plain - text_.begin());
      if (at_ < end) append(text_[at_++]);
    }
  }

  void append(char c) {
    if (c == '&') {
      out_ += reference_mark;
    } else if (is_special(c)) {
      out_ += reference_mark;
      out_ += '#' + std::to_string(c) + ';';
    } else {
      out_ += c;
    }
  }

  // A character of CDATA, where neither "&" nor "<" means anything.
  void append_literal(char c) {
    if (c == '&' || c == '<') {
      out_ += reference_mark;
      out_ += c == '&' ? "amp;" : "lt;";
    } else {
      append(c);
    }
  }

  const std::string& text_;
  std::size_t at_ = 0;
  std::string out_;
  std::vector<Element> open_;
  std::size_t elements_ = 0;
  std::size_t steps_ = 0;
};

}  // namespace

std::optional<std::string> readable_xml(const std::string& document) {
  if (document.size() > most_xml_bytes) return std::nullopt;
  const std::string text =
      with_plain_line_ends(document.substr(0, document.find('\0')));  // as ezXML would read it
  if (text.empty() || text[0] == '\xFE' || text[0] == '\xFF') return std::nullopt;
  if (has_internal_subset(text) || has_bad_character_reference(text)) return std::nullopt;
  return Rewriter(text).rewrite();
}

std::string decode_references(const std::string& text) {
  const std::string_view all(text);
  std::string decoded;
  std::size_t from = 0;
  for (auto mark = all.find(reference_mark); mark != all.npos;
       mark = all.find(reference_mark, from)) {
    decoded.append(all, from, mark - from);
    const auto found = reference(all.substr(mark + 1));
    decoded += found ? found->text : "&";
    from = mark + 1 + (found ? found->length : 0);
  }
  return decoded.append(all, from, all.npos);
}

}  // namespace Quarrow::MessageFilters
