// The execution form of random rules beside the script as it was written, over random messages. A
// program of its own, since it takes some seconds.

#include <gtest/gtest.h>
#include <quarrow/filter_list.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <random>

#include "delivery/execution_form.h"
#include "system/memory_file.h"
#include "tests/support/evaluation_test_support.h"
#include "tests/support/rules_test_support.h"

namespace Quarrow::Delivery {
namespace {

using namespace MessageFilters;

constexpr int lists = EXECUTION_FORM_PAIRS / 10;
constexpr int messages_per_list = 10;

const char* const headers[] = {"subject", "from", "to", "cc", "list-id", "x-absent"};

// Pieces of values: characters that mean something to :regex or :matches, letters in both cases,
// UTF-8, bytes that are no UTF-8, blanks, line ends, and parts of addresses.
const char* const pieces[] = {
    "^",        ".",        "$",    "|",    "(",     ")",  "[",  "]",  "*",  "+", "?",
    "/",        "{",        "}",    "a",    "b",     "A",  "B",  "ab", "aa", "i", "I",
    "\xc3\xa9", "\xc3\x89", "\xe4", "\xff", " ",     "\t", "\n", "\r", "-",  "@", "<",
    ">",        ",",        ":",    ";",    "#",     "=?", "0",  "9",  "_",  "%", "aaab",
    "x.x",      "[list]",   "^a",   "b$",   "a@b.c", "/*", "*/", "'",  "&"};

class Random {
 public:
  std::size_t below(std::size_t limit) { return engine_() % limit; }
  bool one_in(std::size_t count) { return below(count) == 0; }

  template <typename Table>
  const char* any_of(const Table& table) {
    return table[below(std::size(table))];
  }

  // Of up to `most` pieces.
  std::string text(std::size_t most) {
    std::string made;
    for (std::size_t left = below(most + 1); left > 0; --left) made += any_of(pieces);
    return made;
  }

 private:
  std::mt19937 engine_{20261121};
};

class RandomMail {
 public:
  boost::shared_ptr<FilterList__> list() {
    values_.clear();
    const auto made = FilterList__::Create();
    for (std::size_t left = 1 + random_.below(4); left > 0; --left) made->append(filter());
    return made;
  }

  // With headers that often hold, begin or end with a value of the latest list.
  std::string message() {
    std::string made;
    for (const char* header : {"Subject", "From", "To", "Cc", "List-Id"})
      if (!random_.one_in(5)) made += std::string(header) + ":" + body() + "\n";
    return made + "\nbody\n";
  }

 private:
  boost::shared_ptr<Filter__> filter() {
    const auto made = Filter__::Create();
    made->name = "rule " + random_.text(3);
    made->name.erase(std::remove(made->name.begin(), made->name.end(), '\n'), made->name.end());
    made->relation = random_.one_in(2) ? Filter__::ANYOF : Filter__::ALLOF;
    for (std::size_t left = 1 + random_.below(3); left > 0; --left) made->tests.push_back(test());
    for (std::size_t left = 1 + random_.below(3); left > 0; --left)
      made->actions.push_back(action());
    return made;
  }

  Condition test() {
    if (random_.one_in(12)) return make_test("size", "size", "greater", "1");
    if (random_.one_in(12)) return make_test("date", "list-id", "before", "2010-05-01");
    std::string value = random_.text(4);
    if (value.empty()) value = "a";
    values_.push_back(value);
    if (random_.one_in(8)) return make_test("address", "from_to_cc", "contains", value);
    static const char* const comparators[] = {"begin_with", "end_with", "begin_with",
                                              "end_with",   "is",       "contains"};
    const char* const field = random_.one_in(6) ? "to_cc" : random_.any_of(headers);
    Condition made = make_test("string", field, random_.any_of(comparators), value);
    made.negative = random_.one_in(4);
    made.match_case = random_.one_in(4);
    return made;
  }

  Action action() {
    static const char* const folders[] = {"A", "B/C", "Inbox/x", "J\xc3\xa4ger", "A&B"};
    static const char* const methods[] = {"move", "copy", "delete"};
    return make_action(random_.any_of(methods), random_.any_of(folders));
  }

  std::string other_case(std::string text) {
    for (char& c : text)
      if (std::isalpha(static_cast<unsigned char>(c)) && random_.one_in(2)) c ^= 0x20;
    return text;
  }

  // A folded, encoded or plain header value.
  std::string body() {
    std::string text = values_.empty() || random_.one_in(6) ? random_.text(6) : known_text();
    if (random_.one_in(8)) text += random_.one_in(2) ? "\\" : "\"";  // no rule's value holds them
    if (random_.one_in(6)) return " =?utf-8?q?" + hexadecimal(text) + "?=";
    if (random_.one_in(6)) return " =?iso-8859-1?q?" + hexadecimal(text) + "?=";
    for (char& c : text)
      if (c == '\n') c = ' ';
    if (random_.one_in(5)) text.insert(random_.below(text.size() + 1), "\n ");
    return random_.one_in(3) ? text : " " + text;
  }

  std::string known_text() {
    std::string value = values_[random_.below(values_.size())];
    if (random_.one_in(3)) value = other_case(value);
    if (random_.one_in(6)) value.pop_back();
    if (random_.one_in(6)) value += value;
    const std::string before = random_.one_in(2) ? "" : random_.text(2);
    return before + value + (random_.one_in(2) ? "" : random_.text(2));
  }

  static std::string hexadecimal(const std::string& text) {
    std::string made;
    for (const char c : text) {
      char code[4];
      (void)std::snprintf(code, sizeof code, "=%02X", static_cast<unsigned char>(c));
      made += code;
    }
    return made;
  }

  Random random_;
  std::vector<std::string> values_;  // of the latest list
};

std::unique_ptr<SieveMatch> matcher_of_text(const std::string& script) {
  const MemoryFile file;
  if (!file.write(script)) return nullptr;
  return std::unique_ptr<SieveMatch>(SieveMatch::Create(file.path(), nullptr));
}

std::string written(const boost::shared_ptr<FilterList__>& list) {
  const MemoryFile file;
  return list->SaveToSieve(file.path(), true) ? file.read() : std::string();
}

// How often each case was seen, so that a test can tell whether the random pairs hold all cases.
struct Seen {
  int derived = 0;
  int pairs = 0;
  int matched = 0;
  int named = 0;
};

void compare(const std::string& script, RandomMail& mail, Seen& seen) {
  const ExecutionForm form = execution_form(script);
  const auto plain = matcher_of_text(script);
  const auto fast = matcher_of_text(form.script);
  ASSERT_EQ(plain == nullptr, fast == nullptr) << script << form.script;
  if (!plain) return;
  seen.derived += form.branches.empty() ? 0 : 1;
  for (int i = 0; i < messages_per_list; ++i) {
    const std::string message = mail.message();
    const std::string want = text_of(outcome(*plain, message));
    SieveMatchResult result = outcome(*fast, message);
    seen.named += complete(form, result).empty() ? 0 : 1;
    ASSERT_EQ(want, text_of(result)) << script << form.script << message;
    seen.matched += result.actions.empty() ? 0 : 1;
    ++seen.pairs;
  }
}

TEST(ExecutionFormEquivalence, GivesTheResultOfTheScriptAsWritten) {
  RandomMail mail;
  Seen seen;
  for (int i = 0; i < lists && !HasFatalFailure(); ++i) compare(written(mail.list()), mail, seen);
  // Most lists have the writer's shape, and both outcomes are frequent.
  RecordProperty("pairs", seen.pairs);
  RecordProperty("matched", seen.matched);
  EXPECT_GE(seen.pairs, EXECUTION_FORM_PAIRS * 95 / 100);
  EXPECT_GE(seen.derived, lists * 9 / 10);
  EXPECT_GE(seen.matched, seen.pairs / 5);
  EXPECT_LE(seen.matched, seen.pairs * 4 / 5);
  EXPECT_GE(seen.named, seen.matched * 9 / 10);
}

}  // namespace
}  // namespace Quarrow::Delivery
