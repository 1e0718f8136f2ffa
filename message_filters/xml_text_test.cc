// The text that ezXML is given. "@" stands for the mark in these tables.
#include "message_filters/xml_text.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/repeated_test_support.h"

namespace Quarrow::MessageFilters {
namespace {

// A row of `count` elements, the last of which holds `inner`.
std::string row(std::size_t count, const std::string& inner) {
  return repeated("<a/>", count - 1) + "<a>" + inner + "</a>";
}

std::string readable(const std::string& document) {
  std::string text = readable_xml(document).value_or("(refused)");
  std::replace(text.begin(), text.end(), '\x01', '@');
  return text;
}

std::string decoded(std::string text) {
  std::replace(text.begin(), text.end(), '@', '\x01');
  return decode_references(text);
}

const char* const kept_documents[] = {
    "<a/>",
    "<a></a>",
    "<a b=\"c\" d='e'>f<g/>h</a>",
    "<a b=c d/>",
    "<a b = \"/>\">x</a>",
    "<a b=\"<\"/>",
    "<a>\xFF\xC3\xA9</a>",
    "<_a/>",
    "<:a/>",
    "<\xC3\xA9/>",
    "<a><b></a></b>",
    "<a/><b/>",
};

TEST(ReadableXml, KeepsElementsAttributesAndText) {
  for (const char* document : kept_documents) EXPECT_EQ(document, readable(document));
}

const struct {
  const char* document;
  const char* want;
} documents_with_more[] = {{"<?xml version=\"1.0\"?>\n<a/>\n", "<a/>"},
                           {"before<a/>behind", "<a/>"},
                           {"\xEF\xBB\xBF<a/>", "<a/>"},
                           {"<!DOCTYPE a>\xFF\xFE<a/>", "<a/>"},
                           {"text", ""},
                           {"<a/><", "<a/>"},
                           {"<!DOCTYPE a><a/>", "<a/>"},
                           {"<!DOCTYPE a SYSTEM \"file:///x\"><a/>", "<a/>"},
                           {"<a>x<!-- <b> & -->y</a>", "<a>xy</a>"},
                           {"<a>x<!---->y</a>", "<a>xy</a>"},
                           {"<a>x<?b <c> ?>y</a>", "<a>xy</a>"},
                           {"<a>x<?>y</a>", "<a>xy</a>"}};

TEST(ReadableXml, DropsWhatIsNoContent) {
  for (const auto& c : documents_with_more) EXPECT_EQ(c.want, readable(c.document)) << c.document;
}

TEST(ReadableXml, MarksReferences) {
  const struct {
    std::string document;
    const char* want;
  } cases[] = {{"<a b=\"&amp;\">&lt;&x;& &#65;</a>", "<a b=\"@amp;\">@lt;@x;@ @#65;</a>"},
               {"<a>\x01\v\f</a>", "<a>@#1;@#11;@#12;</a>"},
               {"<a b=\"\x01\v\f\"/>", "<a b=\"@#1;@#11;@#12;\"/>"},
               {"<a><![CDATA[<&\x01>]]]></a>", "<a>@lt;@amp;@#1;>]</a>"},
               {"<a><![CDATA[]]></a>", "<a></a>"}};
  for (const auto& c : cases) EXPECT_EQ(c.want, readable(c.document)) << c.document;
}

TEST(ReadableXml, LineEndsBecomeLineFeeds) {
  EXPECT_EQ("<a\nb=\"\n\">\n\n\nx\n</a>", readable("<a\r\nb=\"\r\">\n\r\n\rx\r</a>\r\n"));
}

TEST(ReadableXml, EndsAtANul) {
  EXPECT_EQ("<a/>", readable(std::string("<a/>\0<b>&#0;", 12)));
  EXPECT_EQ("(refused)", readable(std::string("\0<a/>", 5)));
}

const char* const unended_documents[] = {"<a",
                                         "<a ",
                                         "<a b",
                                         "<a b=",
                                         "<a b=\"c",
                                         "<a b='c\"",
                                         "<a b=\"c\"",
                                         "<a/",
                                         "<a/ >",
                                         "<a></a",
                                         "<a><!--",
                                         "<a><!-- --",
                                         "<a><!-- -- --></a>",
                                         "<a><![CDATA[x]]</a>",
                                         "<?x",
                                         "<!DOCTYPE",
                                         "</a>",
                                         "<a/></a>",
                                         "< a>",
                                         "<1/>",
                                         "<a/><!x",
                                         "<![CDATA[x]]><a/>",
                                         "<a/><![CDATA[x]]>"};

TEST(ReadableXml, RefusesMarkupThatDoesNotEnd) {
  for (const char* document : unended_documents)
    EXPECT_EQ("(refused)", readable(document)) << document;
}

const char* const dangerous_documents[] = {"",
                                           "\xFE",
                                           "\xFF\xFE",
                                           "\xFE<",
                                           "\xFF<a/>",
                                           "<!DOCTYPE a []><a/>",
                                           "<!DOCTYPE a><a>[</a>",
                                           "<a>&#0;</a>",
                                           "<a>&#;</a>",
                                           "<a>&#x;</a>",
                                           "<a>&#-1;</a>",
                                           "<a>&#+1;</a>",
                                           "<a>&# 1;</a>",
                                           "<a>&#1</a>",
                                           "<a>&#65",
                                           "<a>&#",
                                           "<a>&#x110000;</a>",
                                           "<a>&#1114112;</a>",
                                           "<a>&#xFFFFFFFFF;</a>",
                                           "<a>&#X41;</a>",
                                           "<a>&#0x41;</a>",
                                           "<a>&#65 ;</a>",
                                           "<a><!-- &#0; --></a>"};

TEST(ReadableXml, RefusesWhatEzxmlCannotBeGiven) {
  for (const char* document : dangerous_documents)
    EXPECT_EQ("(refused)", readable(document)) << document;
}

TEST(ReadableXml, BoundsTheSize) {
  const std::string text(most_xml_bytes - 7, 'x');
  EXPECT_TRUE(readable_xml("<a>" + text + "</a>"));
  EXPECT_FALSE(readable_xml("<a>" + text + "x</a>"));
}

TEST(ReadableXml, BoundsTheDepth) {
  const auto nested = [](std::size_t depth) {
    return repeated("<a>", depth) + repeated("</a>", depth);
  };
  EXPECT_TRUE(readable_xml(nested(most_xml_depth)));
  EXPECT_FALSE(readable_xml(nested(most_xml_depth + 1)));
  EXPECT_FALSE(readable_xml(nested(100000)));
}

TEST(ReadableXml, BoundsTheChildrenOfOneElement) {
  const auto parent = [](std::size_t children) {
    return "<r>" + repeated("<a/>", children) + "</r>";
  };
  EXPECT_TRUE(readable_xml(parent(most_xml_children)));
  EXPECT_FALSE(readable_xml(parent(most_xml_children + 1)));
  EXPECT_FALSE(readable_xml("<r>" + repeated("<a b='>'></a >", most_xml_children + 1) + "</r>"));
}

TEST(ReadableXml, BoundsTheElementsOfADocument) {
  // 1 root, 5 parents, 9900 rows of 100, and 94 more to the million.
  const std::string rows = repeated("<r>" + repeated("<a/>", 100) + "</r>", 1980);
  const std::string document = "<r>" + repeated("<s>" + rows + "</s>", 5);
  EXPECT_TRUE(readable_xml(document + repeated("<a/>", 94) + "</r>"));
  EXPECT_FALSE(readable_xml(document + repeated("<a/>", 95) + "</r>"));
}

TEST(ReadableXml, BoundsTheSumOfAllRows) {
  EXPECT_TRUE(readable_xml("<r>" + row(10000, row(10000, row(10000, ""))) + "</r>"));
  const std::string two_rows = row(15000, row(15000, ""));
  EXPECT_TRUE(readable_xml("<r>" + two_rows + "</r>"));
  EXPECT_FALSE(readable_xml("<r>" + row(15000, row(15000, two_rows)) + "</r>"));
}

// ezXML measures the text that an element has so far at each of its children.
TEST(ReadableXml, BoundsTextBetweenChildren) {
  const std::string text(8 << 20, 'x');
  EXPECT_TRUE(readable_xml("<r>" + text + repeated("<a/>", 1000) + "</r>"));
  EXPECT_FALSE(readable_xml("<r>" + text + repeated("<a/>", 4000) + "</r>"));
  EXPECT_FALSE(readable_xml("<r><![CDATA[" + text + "]]>" + repeated("<a/>", 4000) + "</r>"));
}

TEST(ReadableXml, BoundsLongNamesInARow) {
  const std::string name(10000, 'x');
  EXPECT_TRUE(readable_xml("<r>" + repeated('<' + name + "/>", 1000) + "</r>"));
  EXPECT_FALSE(readable_xml("<r>" + repeated('<' + name + "/>", 3000) + "</r>"));
}

const struct {
  const char* text;
  const char* want;
} references[] = {{"", ""},
                  {"plain & &amp;", "plain & &amp;"},
                  {"@lt;@gt;@quot;@apos;@amp;", "<>\"'&"},
                  {"@amp;lt;", "&lt;"},
                  {"@", "&"},
                  {"x@", "x&"},
                  {"@amp", "&amp"},
                  {"@x;@LT;", "&x;&LT;"},
                  {"@#65;@#x42;@#x0043;", "ABC"},
                  {"@#1;@#11;@#13;", "\x01\v\r"},
                  {"@#x7F;@#x80;@#x7FF;", "\x7F\xC2\x80\xDF\xBF"},
                  {"@#x800;@#xFFFF;", "\xE0\xA0\x80\xEF\xBF\xBF"},
                  {"@#x10000;@#x10FFFF;", "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"},
                  {"@#0;@#", "&#0;&#"}};

TEST(DecodeReferences, TakesTheFiveNamesAndNumbers) {
  for (const auto& c : references) EXPECT_EQ(c.want, decoded(c.text)) << c.text;
}

}  // namespace
}  // namespace Quarrow::MessageFilters
