// The tests that our scripts hold, in three-valued logic: true, false, and not worked out.
#include "fuzz/rule_oracle.h"

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <vector>

#include "delivery/header_end.h"
#include "delivery/header_value.h"
#include "fuzz/rules.h"
#include "message_filters/mailbox_name.h"

namespace Quarrow::Fuzz {
namespace {

using MessageFilters::Action;
using MessageFilters::Comparator;
using MessageFilters::Field;
using MessageFilters::Filter__;
using MessageFilters::Test;
using Verdict = std::optional<bool>;
using Texts = std::vector<std::string>;

// The comparator "i;ascii-casemap" (RFC 4790, section 9.2).
std::string folded(std::string text) {
  for (char& c : text)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return text;
}

bool compares(const Test& test, std::string value) {
  std::string key = test.value;
  if (!test.match_case) {
    key = folded(key);
    value = folded(value);
  }
  if (test.comparator == Comparator::IS) return value == key;
  if (test.comparator == Comparator::CONTAINS) return value.find(key) != std::string::npos;
  if (value.size() < key.size()) return false;
  const std::size_t start =
      test.comparator == Comparator::BEGINWITH ? 0 : value.size() - key.size();
  return value.compare(start, key.size(), key) == 0;
}

std::string_view trimmed(std::string_view text) {
  const std::size_t start = std::min(text.find_first_not_of(' '), text.size());
  text.remove_prefix(start);
  return text.substr(0, text.find_last_not_of(' ') + 1);
}

// The address of a mailbox, "local@domain" or "name <local@domain>".
std::optional<std::string> address_in(std::string_view mailbox) {
  mailbox = trimmed(mailbox);
  const std::size_t open = mailbox.find('<');
  if (open != std::string_view::npos) {
    if (mailbox.back() != '>') return std::nullopt;
    mailbox = mailbox.substr(open + 1, mailbox.size() - open - 2);
  }
  const auto is_plain = [](char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '.' ||
           c == '-' || c == '_' || c == '+' || c == '@';
  };
  const bool is_one = std::count(mailbox.begin(), mailbox.end(), '@') == 1 &&
                      mailbox.front() != '@' && mailbox.back() != '@';
  if (!is_one || !std::all_of(mailbox.begin(), mailbox.end(), is_plain)) return std::nullopt;
  return std::string(mailbox);
}

// The addresses in a header's value (RFC 5322, section 3.4).
std::optional<Texts> addresses_in(std::string_view value) {
  Texts addresses;
  if (trimmed(value).empty()) return addresses;
  if (value.find_first_of("\"()[]\\:;") != std::string_view::npos) return std::nullopt;
  for (bool more = true; more;) {
    const std::size_t end = std::min(value.find(','), value.size());
    const auto address = address_in(value.substr(0, end));
    if (!address) return std::nullopt;
    addresses.push_back(*address);
    more = end < value.size();
    value.remove_prefix(std::min(end + 1, value.size()));
  }
  return addresses;
}

// The number at the start of `text` by "i;ascii-numeric" (RFC 4790, section 9.1); infinite without
// a digit.
std::optional<std::uint64_t> number_in(const std::string& text) {
  constexpr std::size_t digits_of_a_date = 8;
  const std::size_t digits = std::min(text.find_first_not_of("0123456789"), text.size());
  if (digits == 0) return std::nullopt;  // the interpreter takes it for no number at all
  if (digits > digits_of_a_date) return std::nullopt;
  return std::stoull(text.substr(0, digits));
}

Verdict negated(const Verdict& verdict) { return verdict ? Verdict(!*verdict) : verdict; }

// Whether any of the verdicts is true.
Verdict any_of(const std::vector<Verdict>& verdicts) {
  bool is_known = true;
  for (const Verdict& verdict : verdicts) {
    if (verdict && *verdict) return true;
    is_known &= verdict.has_value();
  }
  return is_known ? Verdict(false) : std::nullopt;
}

Verdict all_of(std::vector<Verdict> verdicts) {
  std::transform(verdicts.begin(), verdicts.end(), verdicts.begin(), negated);
  return negated(any_of(verdicts));
}

class Oracle {
 public:
  explicit Oracle(const std::string& message)
      : header_(Delivery::header_of(message)), size_(message.size()) {}

  Verdict matches(const Filter__& filter) const {
    std::vector<Verdict> verdicts;
    for (const Test& test : filter.tests) {
      const Verdict verdict = holds(test);
      verdicts.push_back(test.negative ? negated(verdict) : verdict);
    }
    return filter.relation == Filter__::ANYOF ? any_of(verdicts) : all_of(verdicts);
  }

 private:
  Verdict holds(const Test& test) const {
    if (test.field.type == Field::SIZE) return size_holds(test);
    std::vector<Verdict> verdicts;
    for (const std::string& value : values(test.field.name)) {
      if (test.field.type == Field::STRING) verdicts.emplace_back(compares(test, value));
      if (test.field.type == Field::ADDRESS) verdicts.push_back(address_holds(test, value));
      if (test.field.type == Field::DATE) verdicts.push_back(date_holds(test, value));
    }
    return any_of(verdicts);
  }

  Texts values(const std::string& field) const {
    Texts names = {field};
    if (field == "to_cc") names = {"to", "cc"};
    if (field == "from_to_cc") names = {"from", "to", "cc"};
    Texts found;
    for (const std::string& name : names)
      if (const auto value = Delivery::header_value(name, header_, received_time))
        if (!value->empty()) found.push_back(*value);
    return found;
  }

  Verdict size_holds(const Test& test) const {
    const std::uint64_t bytes = std::stoull(test.value) * 1024;
    return test.comparator == Comparator::GREATER ? size_ > bytes : size_ < bytes;
  }

  static Verdict address_holds(const Test& test, const std::string& value) {
    const auto addresses = addresses_in(value);
    if (!addresses) return std::nullopt;
    return std::any_of(addresses->begin(), addresses->end(),
                       [&test](const std::string& address) { return compares(test, address); });
  }

  static Verdict date_holds(const Test& test, const std::string& value) {
    std::string key = test.value;
    key.erase(std::remove_if(key.begin(), key.end(), [](char c) { return c < '0' || c > '9'; }),
              key.end());
    const auto one = number_in(value);
    const auto other = number_in(key);
    if (!one || !other) return std::nullopt;
    if (test.comparator == Comparator::BEFORE) return *one < *other;
    return test.comparator == Comparator::AFTER ? *one > *other : *one == *other;
  }

  std::string header_;
  std::uint64_t size_;
};

void add_action(SieveMatchResult& result, SieveAction::Type type, const std::string& folder) {
  SieveAction action;
  action.type = type;
  if (!folder.empty()) action.mailbox(MessageFilters::imap_mailbox_name(folder));
  result.add_action(action);
}

SieveMatchResult result_of(const Filter__& filter) {
  SieveMatchResult result;
  for (const Action& action : filter.actions) {
    const bool deletes = action.method == Action::DELETE;
    add_action(result, SieveAction::FILEINTO, deletes ? "Trash" : action.target);
    if (action.method == Action::COPY) add_action(result, SieveAction::KEEP, "");
  }
  return result;
}

}  // namespace

std::optional<SieveMatchResult> decision(const MessageFilters::FilterList__& rules,
                                         const std::string& message) {
  const Oracle oracle(message);
  for (const auto& filter : rules.filters) {
    if (!filter->enabled || filter->tests.empty()) continue;
    const Verdict verdict = oracle.matches(*filter);
    if (!verdict) return std::nullopt;
    if (*verdict) return result_of(*filter);
  }
  return SieveMatchResult();
}

}  // namespace Quarrow::Fuzz
