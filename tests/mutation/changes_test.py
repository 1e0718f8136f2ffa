#!/usr/bin/env python3
"""What changes make out of lines."""

import unittest

from changes import Change, changes_of


def results(kind, text):
    return [change.new for change in changes_of(text) if change.kind == kind]


class ChangesTest(unittest.TestCase):
    def expect(self, kind, cases):
        for text, want in cases:
            with self.subTest(text):
                self.assertEqual(want, results(kind, text))

    def test_conditions_are_negated(self):
        self.expect("negated condition", [
            ("  if (a && b()) return 1;", ["  if (!(a && b())) return 1;"]),
            ("  if (is_there) {", ["  if (!(is_there)) {"]),
            ("  } else if (x < 0) {", ["  } else if (!(x < 0)) {"]),
            ("  if (const Refusal refusal = open()) return refusal;",
             ["  if (const Refusal refusal = open(); !refusal) return refusal;"]),
            ("  if (const int e = f(); e != 0) return e;", []),
            ("  if (a &&", []),
            ("  // if (a) b", [])])

    def test_comparisons_are_changed(self):
        self.expect("comparison", [
            ("  while (a < b) ++a;", ["  while (a <= b) ++a;"]),
            ("  return a == b && c >= d;",
             ["  return a == b && c > d;", "  return a != b && c >= d;"]),
            ('  say("a < b", \'<\');  // a == b', []),
            ("  std::vector<int> a << b;", [])])

    def test_constants_are_off_by_one(self):
        self.expect("constant", [
            ("constexpr int most = 100;", ["constexpr int most = 101;"]),
            ("  f(0, 7U, x2, 1.5, 0x10, 0600);", ["  f(1, 7U, x2, 1.5, 0x10, 0600);",
                                                "  f(0, 8U, x2, 1.5, 0x10, 0600);"]),
            ("  if (poll(nullptr, 0, 5) == 0) return;", []),
            ('  say("1");  // 2', []),
            ("#if 0", [])])

    def test_statements_are_dropped(self):
        self.expect("dropped statement", [
            ("{\n  session.greet();\n}", ["  {}"]),
            ("  if (a)\n    (void)unlink(path);", ["    {}"]),
            ("  a = b;\n  names_.push_back(f(x)[0]);", ["  {}"]),
            ("{\n  return f();\n  Descriptor file(open(path));\n  x = f();\n}", []),
            ("  const int x =\n      f(a);", [])])

    def test_checks_are_skipped(self):
        self.expect("skipped check", [
            ("  if (fd < 0) return errno;", ["  (void)(fd < 0);"]),
            ("  if (!write(fd, a))\n    return false;", ["  (void)(!write(fd, a));"]),
            ("  if (const int error = sync(fd)) return error;", ["  (void)(sync(fd));"]),
            ("  if (a) continue;\n  f();", ["  (void)(a);"]),
            ("  if (a) b();\n  return c;", []),
            ("  if (a)\n    b();", []),
            ("  if (a) {\n    return b;\n  }", []),
            ("  } else if (a)\n    return b;", [])])

    def test_return_values_are_changed(self):
        self.expect("return value", [
            ("  return true;", ["  return false;"]),
            ('  if (a) return "";', ['  if (a) return "x";']),
            ("  return a && b;", ["  return !(a && b);"]),
            ("  return !a;", ["  return !(!a);"]),
            ("  return a;", []),
            ('  return "x && y";', [])])

    def test_a_change_is_applied_where_it_stands(self):
        text = "  f();\n  if (a)\n    return b;\n  f();"
        change, = (change for change in changes_of(text) if change.kind == "skipped check")
        self.assertEqual("  f();\n  (void)(a);\n  f();", change.apply(text))
        change, = (change for change in changes_of("  if (a) continue;\n  f();")
                   if change.kind == "skipped check")
        self.assertEqual("  if (a) continue;", change.old)
        with self.assertRaises(AssertionError):
            Change("constant", 0, "other line", "").apply(text)


if __name__ == "__main__":
    unittest.main()
