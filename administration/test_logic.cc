// Claims compared by pairs, and numbers by ranges.
#include "administration/test_logic.h"

#include <algorithm>
#include <limits>
#include <string_view>

#include "administration/rule_fields.h"
#include "host/zvellparser/address_header.h"
#include "host/zvellparser/ascii_case.h"
#include "message_filters/field_names.h"
#include "message_filters/sieve_test_text.h"

namespace Quarrow::Administration {
namespace {

using MessageFilters::Comparator;
using MessageFilters::Field;
using MessageFilters::Test;
using Place = Claim::Place;
using Subject = Claim::Subject;

// The interpreter counts sizes in 31 bits: from this many KiB on, a test says something else.
constexpr std::size_t most_size_digits = 7;
constexpr std::int64_t sizes_end = 2097152;
constexpr std::int64_t bytes_per_kibibyte = 1024;

constexpr std::size_t date_digits = 8;

bool is_number(const std::string& text, std::size_t bound) {
  return !text.empty() && text.size() <= bound && text == MessageFilters::digits_only(text);
}

std::string in_small_letters(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), zvellparser::ascii_lower);
  return text;
}

std::vector<std::string> headers_of(const std::string& field) {
  if (field == FieldNames::to_cc) return {"to", "cc"};
  if (field == FieldNames::from_to_cc) return {"from", "to", "cc"};
  return {in_small_letters(field)};
}

Place place_of(const std::string& comparator) {
  if (comparator == Comparator::CONTAINS) return Place::part;
  if (comparator == Comparator::BEGINWITH) return Place::beginning;
  return comparator == Comparator::ENDWITH ? Place::ending : Place::whole;
}

int relation_of(const std::string& comparator) {
  if (comparator == Comparator::LESS || comparator == Comparator::BEFORE) return -1;
  return comparator == Comparator::GREATER || comparator == Comparator::AFTER ? 1 : 0;
}

// Only these two tell capitals; a value without letters has none to tell.
bool tells_capitals(const Test& test) {
  const bool can = test.comparator == Comparator::IS || test.comparator == Comparator::CONTAINS;
  return can && test.match_case;
}

void read_text(const Test& test, Subject subject, Claim& claim) {
  claim.subject = subject;
  claim.headers = headers_of(test.field.name);
  claim.place = place_of(test.comparator);
  claim.is_exact = tells_capitals(test);
}

void read_size(const Test& test, Claim& claim) {
  if (!is_number(test.value, most_size_digits)) return;
  const std::int64_t size = std::stoll(test.value);
  if (size >= sizes_end) return;
  claim.subject = Subject::size;
  claim.number = size * bytes_per_kibibyte;
}

// Of another field's value it is not known how the interpreter reads a number in it.
void read_date(const Test& test, Claim& claim) {
  const std::string digits = MessageFilters::digits_only(test.value);
  if (test.field.name == FieldNames::received_date && digits.size() == date_digits) {
    claim.subject = Subject::date;
    claim.number = std::stoll(digits);
    return;
  }
  claim.subject = Subject::other;
  claim.value = in_small_letters(test.field.name) + ' ' + digits;
}

using View = std::string_view;

bool begins(View text, View with) { return text.substr(0, with.size()) == with; }

bool ends(View text, View with) {
  return text.size() >= with.size() && text.substr(text.size() - with.size()) == with;
}

// Whether a text that has `value` in `place` has `wanted` in `wanted_place`, whatever else is in
// it.
bool is_there(View value, Place place, View wanted, Place wanted_place) {
  if (wanted_place == Place::part) return value.find(wanted) != View::npos;
  if (place != Place::whole && place != wanted_place) return false;
  if (wanted_place == Place::beginning) return begins(value, wanted);
  if (wanted_place == Place::ending) return ends(value, wanted);
  return place == Place::whole && value == wanted;
}

bool has_letters(const Claim& claim) {
  return std::any_of(
      claim.value.begin(), claim.value.end(),
      [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); });
}

// Whether a text that `claim` finds is found by `other`, too.
bool implies(const Claim& claim, const Claim& other) {
  if (!other.is_exact || !has_letters(other))
    return is_there(claim.small_value, claim.place, other.small_value, other.place);
  return claim.is_exact && is_there(claim.value, claim.place, other.value, other.place);
}

// Whether one text can be found by `claim` and by `other`.
bool agree(const Claim& claim, const Claim& other) {
  if (other.place == Place::whole && claim.place != Place::whole) return agree(other, claim);
  const bool exact = claim.is_exact && other.is_exact;
  const View a = exact ? claim.value : claim.small_value;
  const View b = exact ? other.value : other.small_value;
  if (claim.place == Place::whole) return is_there(a, Place::whole, b, other.place);
  if (claim.place != other.place || claim.place == Place::part) return true;
  return is_there(a, claim.place, b, claim.place) || is_there(b, claim.place, a, claim.place);
}

bool looks_at(const Claim& claim, const std::string& header) {
  return std::find(claim.headers.begin(), claim.headers.end(), header) != claim.headers.end();
}

// Whether `claim`, which holds by what is in `header`, leaves no way for `other`.
bool rules_out(const Claim& claim, const std::string& header, const Claim& other) {
  if (other.subject != claim.subject || !looks_at(other, header)) return false;
  if (!other.holds) return implies(claim, other);
  return claim.subject == Subject::text && other.headers.size() == 1 && !agree(claim, other);
}

// Whether the others leave none of its headers to a claim that holds.
bool is_ruled_out(const Claim& claim, const Claims& claims) {
  const bool is_text = claim.subject == Subject::text || claim.subject == Subject::addresses;
  if (!is_text || !claim.holds) return false;
  return std::all_of(claim.headers.begin(), claim.headers.end(), [&](const std::string& header) {
    return std::any_of(claims.begin(), claims.end(),
                       [&](const Claim* other) { return rules_out(claim, header, *other); });
  });
}

// The numbers that claims leave.
class Range {
 public:
  void narrow(const Claim& claim) {
    if (claim.relation == 0)
      narrow_by_equality(claim);
    else if ((claim.relation < 0) == claim.holds)  // less, or not greater
      last_ = std::min(last_, claim.holds ? claim.number - 1 : claim.number);
    else
      first_ = std::max(first_, claim.holds ? claim.number + 1 : claim.number);
  }

  bool is_empty() const {
    std::int64_t left = first_;
    while (left <= last_ && std::find(excluded_.begin(), excluded_.end(), left) != excluded_.end())
      ++left;
    return left > last_;
  }

 private:
  void narrow_by_equality(const Claim& claim) {
    if (!claim.holds) return excluded_.push_back(claim.number);
    first_ = std::max(first_, claim.number);
    last_ = std::min(last_, claim.number);
  }

  std::int64_t first_ = std::numeric_limits<std::int32_t>::min();
  std::int64_t last_ = std::numeric_limits<std::int32_t>::max();
  std::vector<std::int64_t> excluded_;
};

// Whether no number is left. Where there may be none at all, that suits claims of which none holds.
bool leave_no_number(Subject subject, bool may_be_absent, const Claims& claims) {
  Range range;
  bool must_be_there = !may_be_absent;
  for (const Claim* claim : claims) {
    if (claim->subject != subject) continue;
    range.narrow(*claim);
    must_be_there |= claim->holds;
  }
  return must_be_there && range.is_empty();
}

bool is_same_with_other_outcome(const Claim& claim, const Claim& other) {
  return claim.subject == Subject::other && other.subject == Subject::other && claim.holds &&
         !other.holds && claim.value == other.value && claim.relation == other.relation;
}

}  // namespace

Claim claim_of(const Test& test) {
  Claim claim;
  if (!test.is_valid()) return claim;
  claim.holds = !test.negative;
  claim.value = test.value;
  claim.relation = relation_of(test.comparator);
  if (test.field.type == Field::STRING) read_text(test, Subject::text, claim);
  if (test.field.type == Field::ADDRESS && holds_addresses(test.field.name))
    read_text(test, Subject::addresses, claim);
  if (test.field.type == Field::SIZE) read_size(test, claim);
  if (test.field.type == Field::DATE) read_date(test, claim);
  claim.small_value = in_small_letters(claim.value);
  return claim;
}

Claim opposite_of(Claim claim) {
  claim.holds = !claim.holds;
  return claim;
}

bool exclude_each_other(const Claims& claims) {
  if (leave_no_number(Subject::size, false, claims)) return true;
  if (leave_no_number(Subject::date, true, claims)) return true;
  return std::any_of(claims.begin(), claims.end(), [&](const Claim* claim) {
    return is_ruled_out(*claim, claims) ||
           std::any_of(claims.begin(), claims.end(), [&](const Claim* other) {
             return is_same_with_other_outcome(*claim, *other);
           });
  });
}

}  // namespace Quarrow::Administration
