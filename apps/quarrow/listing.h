// Rows of results, in the form that the reader wants.
#ifndef QUARROW_APPS_QUARROW_LISTING_H_
#define QUARROW_APPS_QUARROW_LISTING_H_

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace CLI {
class App;
}  // namespace CLI

namespace Quarrow::Command {

// For people, for line-wise tools, and for programs.
enum class ListingForm { table, tab, json };

// What stands in a row: nothing, a truth, a number, a text, or several texts.
class Value {
 public:
  using Held =
      std::variant<std::nullptr_t, bool, std::int64_t, std::string, std::vector<std::string>>;

  Value(std::nullptr_t = nullptr) {}
  Value(bool truth) : held_(truth) {}
  Value(const char* text) : held_(std::string(text)) {}
  Value(std::string text) : held_(std::move(text)) {}
  Value(std::vector<std::string> texts) : held_(std::move(texts)) {}
  template <typename Number, typename = std::enable_if_t<std::is_integral_v<Number>>>
  Value(Number number) : held_(static_cast<std::int64_t>(number)) {}

  const Held& held() const { return held_; }
  bool is_nothing() const { return std::holds_alternative<std::nullptr_t>(held_); }
  bool is_number() const { return std::holds_alternative<std::int64_t>(held_); }

 private:
  Held held_ = nullptr;
};

// The text; nothing for an empty one.
inline Value text_or_nothing(const std::string& text) {
  return text.empty() ? Value() : Value(text);
}

// A list of rows with the same columns.
class Listing {
 public:
  // The names of the columns: small letters, an underscore between words. They are the keys in
  // JSON, and never change their meaning.
  explicit Listing(std::vector<std::string> columns) : columns_(std::move(columns)) {}

  // A value for each column.
  void add(std::vector<Value> row);

  // Adds the rows in `json`, a list of lists from this program, with `first` in front of each row
  // unless it is empty.
  void add_json(const std::string& json, const std::string& first);

  // How many rows are added and not printed.
  std::size_t size() const { return rows_.size(); }
  bool is_empty() const { return rows_.empty(); }

  // As a table: a line with the columns' names, and a line for each row; numbers stand on the
  // right. As tab: a line for each row, the values separated by tabs. In both, lists are joined by
  // ", ", truth is "yes" or "no", and control characters are escaped. As JSON: an array of objects,
  // in one line each.
  void print(ListingForm form, std::ostream& out) const;

  // Prints the rows so far and forgets them, so that a list of any length takes little memory; then
  // print() gives the rest, and ends the list. The columns of a table may get wider from one part
  // to the next.
  void print_part(ListingForm form, std::ostream& out);

 private:
  // What came before the rows that are printed now.
  struct Printed {
    bool has_rows = false;
    std::vector<std::size_t> widths;  // of a table's columns
  };

  void print_rows(ListingForm form, std::ostream& out, Printed& printed) const;
  void print_table(std::ostream& out, Printed& printed) const;
  void print_tab(std::ostream& out) const;
  void print_json(std::ostream& out, bool is_begun) const;

  Printed printed_;
  const std::vector<std::string> columns_;
  std::vector<std::vector<Value>> rows_;
};

// Adds the option -f, --format, which sets `form`.
void add_format_option(CLI::App& app, ListingForm& form);

}  // namespace Quarrow::Command

#endif  // QUARROW_APPS_QUARROW_LISTING_H_
