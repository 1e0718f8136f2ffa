// Finding a header by its name.
#include <string_view>

#include "host/zvellparser/address_header.h"
#include "host/zvellparser/ascii_case.h"
#include "zvellparser.h"

TypeAndValue::TypeAndValue(std::string value) : present_(true), value_(std::move(value)) {}

Header HeaderContainer::find(const std::string& name) const {
  const std::string_view text(lines_);
  for (const std::size_t start : starts_) {
    const std::size_t colon = start + name.size();
    if (colon >= text.size() || text[colon] != ':') continue;
    if (!zvellparser::equal_ignoring_case(text.substr(start, name.size()), name)) continue;
    const std::string value(text.substr(colon + 1, text.find('\n', colon) - colon - 1));
    if (!zvellparser::is_address_header(name)) return Header(value);
    return Header(zvellparser::readable_address_header(value));
  }
  return Header();
}
