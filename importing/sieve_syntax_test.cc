// Scripts that are taken apart, and texts that are no scripts.
#include "importing/sieve_syntax.h"

#include <gtest/gtest.h>

namespace Quarrow::Importing {
namespace {

std::string fault_in(const std::string& script) {
  SieveFault fault;
  if (parse_sieve(script, fault)) return "";
  return std::to_string(fault.line) + ": " + fault.reason;
}

std::vector<SieveNode> parsed(const std::string& script) {
  SieveFault fault;
  const auto nodes = parse_sieve(script, fault);
  EXPECT_TRUE(nodes) << fault.line << ": " << fault.reason;
  return nodes ? *nodes : std::vector<SieveNode>(1);
}

TEST(ParseSieve, ReadsCommandsWithArgumentsTestsAndBlocks) {
  const auto nodes = parsed(
      "require [\"a\", \"b\"];\r\n"
      "IF not anyof (Size :over 10K, header :Contains \"c\" [\"d\", \"e\"]) { keep; stop; }");
  ASSERT_EQ(2U, nodes.size());
  EXPECT_EQ(2U, nodes[0].arguments[0].texts.size());
  EXPECT_EQ("if", nodes[1].name);
  EXPECT_EQ(2U, nodes[1].line);
  ASSERT_EQ(2U, nodes[1].block.size());
  ASSERT_EQ("not", nodes[1].tests[0].name);
  const auto& list = nodes[1].tests[0].tests[0].tests;
  ASSERT_EQ(2U, list.size());
  EXPECT_EQ("size", list[0].name);
  EXPECT_EQ(10240U, list[0].arguments[1].number);
  EXPECT_EQ("contains", list[1].arguments[0].tag);
  EXPECT_EQ("e", list[1].arguments[2].texts[1].text);
}

TEST(ParseSieve, ReadsTextsWithAndWithoutTheirEscapes) {
  const auto texts = parsed("a \"b\\\\\\\"\\.c\" text: # d\r\n.e\r\n..f\r\n.\r\n;")[0].arguments;
  ASSERT_EQ(2U, texts.size());
  EXPECT_EQ("b\\\".c", texts[0].texts[0].text);
  EXPECT_EQ("b\\\\\\\"\\.c", texts[0].texts[0].raw);
  EXPECT_EQ(".e\n.f\n", texts[1].texts[0].text);
}

TEST(ParseSieve, KeepsCommentsWithWhatTheyStandBefore) {
  const auto nodes = parsed("# a\n/* b\nc */ keep; # d\nif true # e\n{}");
  EXPECT_EQ(" a\n b\nc ", nodes[0].comment);
  EXPECT_EQ(3U, nodes[0].line);
  EXPECT_EQ(" d", nodes[1].comment);
  EXPECT_EQ(" e", nodes[1].block_comment);
  EXPECT_TRUE(parsed("#").empty());
}

TEST(ParseSieve, SaysWhereATextIsNoScript) {
  const struct {
    const char* script;
    const char* fault;
  } cases[] = {{"keep", "1: \"{\" is missing"},
               {"\n\nkeep;;", "3: a command is missing"},
               {"keep;\n\"a\";", "2: a command is missing"},
               {"if true { keep;", "1: \"}\" is missing"},
               {"a [];", "1: a text is missing"},
               {"a [\"b\"", "1: \"]\" is missing"},
               {"a (b", "1: \")\" is missing"},
               {"a (1)", "1: a test is missing"},
               {"a \"b", "1: a text does not end"},
               {"a \"b\\", "1: a text does not end"},
               {"a text:\nb", "1: a text of several lines does not end"},
               {"/* a", "1: a comment does not end"},
               {"a 4294967296;", "1: a number is too large"},
               {"a : b;", "1: a colon without a tag"},
               {"a\xC3\xB6;", "1: a character that does not belong here"}};
  for (const auto& c : cases) EXPECT_EQ(c.fault, fault_in(c.script)) << c.script;
}

TEST(ParseSieve, BoundsDepthAndLength) {
  std::string deep;
  std::string nots = "if ";
  for (int level = 0; level < 100000; ++level) {
    deep += "if true {";
    nots += "not ";
  }
  EXPECT_EQ("1: blocks or tests are too deep inside each other", fault_in(deep));
  EXPECT_EQ("1: blocks or tests are too deep inside each other", fault_in(nots));
  std::string many;
  for (int count = 0; count < 30000; ++count) many += "keep;";
  EXPECT_EQ("1: there are too many commands", fault_in(many));
  std::string texts = "a [\"\"";
  for (int count = 0; count < 200000; ++count) texts += ",\"\"";
  EXPECT_EQ("1: there are too many texts", fault_in(texts + "];"));
}

}  // namespace
}  // namespace Quarrow::Importing
