#include "sieve_match/script_check.h"

#include <gtest/gtest.h>

namespace Quarrow {
namespace {

const char* const unsafe_scripts[] = {
    "if envelope :is \"from\" \"a\" { keep; }",
    "if HasFlag :is \"a\" { keep; }",
    "SETFLAG \"a\";",
    "if xenvelopex",
    "# comment\nsetflag \"a\";",
    "# comment\r\nsetflag \"a\";",
    "/* comment */setflag \"a\";",
    "\"a string\" setflag",
    "\"\" setflag",
    "\"a \\\" string\" setflag",
    "reject text:\nfine\n.\nsetflag",
    "reject text: # comment\r\nfine\r\n.\r\nsetflag",
    "reject text:\n.\nsetflag",
    "reject text:\n.. still text\n.\rsetflag",
    "reject text:\r\nfine\r\n.\r\nsetflag",
    "/ setflag",
    "text setflag",
    "text: setflag",
};

TEST(ScriptCheck, FindsTheWordsOutsideStringsAndComments) {
  for (const char* script : unsafe_scripts) EXPECT_TRUE(has_unsafe_words(script)) << script;
}

const char* const safe_scripts[] = {
    "",
    "keep;",
    "require [\"envelope\"];",
    "# RULE: envelope\nkeep;",
    "# a comment ends at a line feed only\rsetflag",
    "/* setflag\n\n hasflag */ keep;",
    "/* setflag, never closed",
    "\"setflag, never closed",
    "\"a \\\" setflag \\\\\" hasflag\" keep;",
    "reject text:\nsetflag\n .\n..\n. \nhasflag\n.\n;",
    "reject text:\rone line to the end of all\rsetflag\r.\r hasflag",
    "env elope; has flag; set_flag;",
};

TEST(ScriptCheck, LetsThemStandInStringsAndComments) {
  for (const char* script : safe_scripts) EXPECT_FALSE(has_unsafe_words(script)) << script;
}

}  // namespace
}  // namespace Quarrow
