// Printing rows.
#include "apps/quarrow/listing.h"

#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>
#include <utility>

#include "apps/quarrow/option.h"
#include "system/printable.h"

namespace Quarrow::Command {
namespace {

using Json = nlohmann::ordered_json;

// A value for people and line-wise tools.
struct AsText {
  std::string operator()(std::nullptr_t) const { return ""; }
  std::string operator()(bool truth) const { return truth ? "yes" : "no"; }
  std::string operator()(std::int64_t number) const { return std::to_string(number); }
  std::string operator()(const std::string& text) const { return printable(text); }
  std::string operator()(const std::vector<std::string>& texts) const {
    std::string joined;
    for (const auto& text : texts) joined += (joined.empty() ? "" : ", ") + printable(text);
    return joined;
  }
};

std::string text_of(const Value& value) { return std::visit(AsText(), value.held()); }

Json json_of(const Value& value) {
  return std::visit([](const auto& held) { return Json(held); }, value.held());
}

Value value_of(const Json& json) {
  if (json.is_null()) return nullptr;
  if (json.is_boolean()) return json.get<bool>();
  if (json.is_string()) return json.get<std::string>();
  if (json.is_array()) return json.get<std::vector<std::string>>();
  return json.get<std::int64_t>();
}

// How many characters of UTF-8 a text has: all bytes but those that continue one.
std::size_t width_of(const std::string& text) {
  return static_cast<std::size_t>(std::count_if(
      text.begin(), text.end(), [](unsigned char c) { return (c & 0xc0U) != 0x80U; }));
}

std::string padding(const std::string& text, std::size_t width) {
  return std::string(width - std::min(width, width_of(text)), ' ');
}

std::string without_trailing_blanks(std::string line) {
  line.erase(line.find_last_not_of(' ') + 1);
  return line;
}

const std::vector<std::pair<std::string, ListingForm>> forms = {
    {"table", ListingForm::table}, {"tab", ListingForm::tab}, {"json", ListingForm::json}};

}  // namespace

void Listing::add(std::vector<Value> row) { rows_.push_back(std::move(row)); }

void Listing::add_json(const std::string& json, const std::string& first) {
  for (const Json& cells : Json::parse(json)) {
    std::vector<Value> row;
    if (!first.empty()) row.emplace_back(first);
    std::transform(cells.begin(), cells.end(), std::back_inserter(row), value_of);
    rows_.push_back(std::move(row));
  }
}

void Listing::print(ListingForm form, std::ostream& out) const {
  Printed printed = printed_;
  print_rows(form, out, printed);
  if (form == ListingForm::json) out << (printed.has_rows ? "]\n" : "[]\n");
}

void Listing::print_part(ListingForm form, std::ostream& out) {
  if (rows_.empty()) return;
  print_rows(form, out, printed_);
  rows_.clear();
}

void Listing::print_rows(ListingForm form, std::ostream& out, Printed& printed) const {
  switch (form) {
    case ListingForm::table:
      print_table(out, printed);
      break;
    case ListingForm::tab:
      print_tab(out);
      break;
    case ListingForm::json:
      print_json(out, printed.has_rows);
      break;
  }
  printed.has_rows = printed.has_rows || !rows_.empty();
}

void Listing::print_table(std::ostream& out, Printed& printed) const {
  std::vector<std::size_t>& widths = printed.widths;
  widths.resize(columns_.size());
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    widths[i] = std::max(widths[i], width_of(columns_[i]));
    for (const auto& row : rows_) widths[i] = std::max(widths[i], width_of(text_of(row[i])));
  }
  const auto print_line = [&](const auto& text_at, const auto& is_number_at) {
    std::string line;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      const std::string text = text_at(i);
      const std::string blanks = padding(text, widths[i]);
      line += (i == 0 ? "" : "  ") + (is_number_at(i) ? blanks + text : text + blanks);
    }
    out << without_trailing_blanks(line) << '\n';
  };
  const auto has_numbers = [&](std::size_t i) {
    return !rows_.empty() && std::all_of(rows_.begin(), rows_.end(), [i](const auto& row) {
      return row[i].is_number() || row[i].is_nothing();
    });
  };
  if (!printed.has_rows) print_line([&](std::size_t i) { return columns_[i]; }, has_numbers);
  for (const auto& row : rows_)
    print_line([&](std::size_t i) { return text_of(row[i]); },
               [&](std::size_t i) { return row[i].is_number(); });
}

void Listing::print_tab(std::ostream& out) const {
  for (const auto& row : rows_)
    for (std::size_t i = 0; i < columns_.size(); ++i)
      out << text_of(row[i]) << (i + 1 < columns_.size() ? '\t' : '\n');
}

void Listing::print_json(std::ostream& out, bool is_begun) const {
  const char* separator = is_begun ? ",\n " : "[";
  for (const auto& row : rows_) {
    Json object = Json::object();
    for (std::size_t i = 0; i < columns_.size(); ++i) object[columns_[i]] = json_of(row[i]);
    out << separator << object.dump(-1, ' ', false, Json::error_handler_t::replace);
    separator = ",\n ";
  }
}

void add_format_option(CLI::App& app, ListingForm& form) {
  add_choice(app, "-f,--format", form, forms, "table for people, tab for line-wise tools, or json")
      .default_str("table");
}

}  // namespace Quarrow::Command
