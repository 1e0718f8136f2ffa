// Address headers that repeat one piece, for tests and measurements of what they cost.
#ifndef QUARROW_TESTS_SUPPORT_HOSTILE_ADDRESS_TEST_SUPPORT_H_
#define QUARROW_TESTS_SUPPORT_HOSTILE_ADDRESS_TEST_SUPPORT_H_

#include <cstddef>
#include <string>

struct HostileAddress {
  const char* begin;
  const char* piece;
  const char* end;
};

constexpr HostileAddress hostile_addresses[] = {
    // words, quoted words, comments
    {"", "x ", "<a@b>"},
    {"", "xxxxxxxxxxxx ", "<a@b>"},
    {"", "\"x\" ", "<a@b>"},
    {"", "\"x y\"", "<a@b>"},
    {"", "\"\" ", "<a@b>"},
    {"", "(x)", " a@b"},
    {"a@b ", "(x) ", ""},
    {"", "x(y)", "<a@b>"},
    {"", "J. ", "<a@b>"},
    {"\"", "x ", "\" <a@b>"},
    {"\"", "xxxxxxxx", "\" <a@b>"},
    {"\"", "\\x", "\" <a@b>"},
    {"\"", "\\\\", "\" <a@b>"},
    {"", "x", " <a@b>"},
    {"", "x", "@b"},
    {"(", "x", ") a@b"},
    {"", "x,", " <a@b>"},
    {"", "x ", ""},
    {"", "x", ""},
    {"", "x. ", ""},
    // dots and labels
    {"", "x.", "x@b"},
    {"<", "x.", "x@b>"},
    {"<", "\"x\".", "x@b>"},
    {"", "x .", "x@b"},
    {"", ".", "x@b"},
    {"a@", "x.", "x"},
    {"a@", "xxxxxxxxxxxxxxx.", "x"},
    {"n <a@", "x.", "x>"},
    {"a@", "[x].", "x"},
    {"a@", "x", ""},
    {"a@[", "x", "]"},
    {"a@[", "x]", "]"},
    {"a@", ".", "x"},
    {"a@", "x..", "x"},
    {"", "@", "a@b"},
    {"", "a@", "b"},
    // angle brackets, routes
    {"", "<", "a@b>"},
    {"", "<a@b>", ""},
    {"", "<a@b", ">"},
    {"", "<a@b> ", ""},
    {"", ">", ""},
    {"<", "@x,", "@x:a@b>"},
    {"<", "@x:", "a@b>"},
    {"<@", "x.", "x:a@b>"},
    {"<@", "x", ":a@b>"},
    {"<", "mailto:", "a@b>"},
    {"<", "\"", "a@b>"},
    {"<", "\"\\\"", "a@b>"},
    // parentheses
    {"", "(", ""},
    {"", "(", "a@b"},
    {"", ")", "a@b"},
    {"", "()", "a@b"},
    {"", "(\\", ""},
    {"", "(\"", ""},
    // separators and groups
    {"", ";", "a@b"},
    {"", ",", "a@b"},
    {"", ":", "a@b"},
    {"", "a:", "a@b"},
    {"", "a:;", ""},
    {"", "a:;,", "a@b"},
    {"g:", "a@b,", "a@b;"},
    {"g ", "x ", ":a@b;"},
    {"\"", "x ", "\":;"},
    {"", "a@b;", ""},
    {"", "a@b,", "a@b"},
    {"", "a@b, ", ""},
    {"", "n <a@b>,", "a@b"},
    {"", "x y z <a@b>,", "a@b"},
    {"", "\"\" <a@b>,", "a@b"},
    {"", "a@b ", ""},
    {"", "a b@c,", ""},
    // backslashes, quotes
    {"", "\\", "a@b"},
    {"", "\\\"", "a@b"},
    {"", "\"", "a@b"},
    {"", "\"\\", "a@b"},
    {"", "\">,", "a@b"},
    {"\"", ">,\\", "a@b"},
    // 8-bit bytes, encoded words
    {"", "\xe4", " <a@b>"},
    {"", "\xe4 ", "<a@b>"},
    {"", "\xc3\xa4 ", "<a@b>"},
    {"", "\x81 ", "<a@b>"},
    {"", "\x80.", "x@b"},
    {"a@", "\xc3\xa4.", "x"},
    {"", "=?utf-8?q?x?= ", "<a@b>"},
    {"", "=?utf-8?q?x?= y ", "<a@b>"},
    {"", "=?utf-8?q?x_y_z.?= ", "<a@b>"},
    {"", "=?utf-8?q?=22?= ", "<a@b>"},
    {"", "=?utf-8?b?4oKs4oKs?= ", "<a@b>"},
    {"", "=?koi8-r?q?=D0?=", "<a@b>"},
    {"", "=?shift_jis?b?sbGxsbGxsbGx?= ", "<a@b>"},
    {"=?utf-8?q?", "x_", "?= <a@b>"},
    {"=?utf-8?q?", "=40", "?= <a@b>"},
    {"=?utf-8?b?", "eCB4", "?= <a@b>"},
    {"", "=?utf-8?q?a=40b=2C?= ", "a@b"},
    {"", "=?", " <a@b>"},
    {"", "=?x", " <a@b>"},
    {"", "=?utf-8?q?", "<a@b>"},
    {"", "=?utf-8?q?x", "<a@b>"},
    {"", "=?utf-8?q?\xe4 ", "<a@b>"},
    {"", "=?x?q?=ff?= x ", "<a@b>"},
};

// A header of `length` bytes, give or take a piece, at least one of them.
inline std::string text_of(const HostileAddress& address, std::size_t length) {
  std::string text = address.begin;
  do text += address.piece;
  while (text.size() < length);
  return text + address.end;
}

#endif  // QUARROW_TESTS_SUPPORT_HOSTILE_ADDRESS_TEST_SUPPORT_H_
