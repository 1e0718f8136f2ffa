// Documents from files, among them those that ezXML alone does not survive, and documents to files.
#include "message_filters/xml_document.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <sstream>

#include "message_filters/xml_text.h"
#include "quarrow/filter_list.h"
#include "tests/support/repeated_test_support.h"
#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow::MessageFilters {
namespace {

class XmlFile : public testing::Test {
 protected:
  XmlTree parse(const std::string& document) {
    write_file(path_, document);
    return parse_xml_file(path_);
  }

  const TemporaryFolder folder_;
  const std::string path_ = folder_.file("document.xml");
};

TEST_F(XmlFile, IsReadAsATree) {
  const XmlTree tree = parse("<a n=\"1\"><b>x</b><c/><b>y&amp;</b></a>\n");
  ASSERT_TRUE(tree);
  EXPECT_EQ("1", xml_attribute(tree.get(), "n"));
  EXPECT_FALSE(xml_attribute(tree.get(), "m"));
  ezxml* const first = xml_child(tree.get(), "b");
  EXPECT_EQ("x", xml_text(first));
  EXPECT_EQ("y&", xml_text(xml_next(first)));
  EXPECT_EQ("", xml_text(xml_child(tree.get(), "c")));
  EXPECT_FALSE(xml_next(xml_next(first)));
}

TEST_F(XmlFile, ShowsAllThatIsInIt) {
  const XmlTree tree = parse_xml("<a><b m='1' n='&amp;'/><c/>\n<b>x</b></a>");
  ASSERT_TRUE(tree);
  std::string names;
  for (ezxml* child = xml_first_child(tree.get()); child; child = xml_following(child))
    names += xml_name(child);
  EXPECT_EQ("bcb", names);
  const std::vector<std::pair<std::string, std::string>> attributes{{"m", "1"}, {"n", "&"}};
  EXPECT_EQ(attributes, xml_attributes(xml_first_child(tree.get())));
  EXPECT_TRUE(xml_attributes(tree.get()).empty());
}

TEST_F(XmlFile, NothingHasNoContent) {
  EXPECT_FALSE(xml_first_child(nullptr));
  EXPECT_FALSE(xml_child(nullptr, "a"));
  EXPECT_FALSE(xml_next(nullptr));
  EXPECT_EQ("", xml_text(nullptr));
  EXPECT_FALSE(xml_attribute(nullptr, "a"));
}

TEST_F(XmlFile, AcceptsMoreThanItHasTo) {
  for (const char* document :
       {"\xEF\xBB\xBF<a>x</a>", "<?xml version=\"1.0\" encoding=\"latin1\"?><a>x</a>", "t<a>x</a>t",
        "<a>x</a><", "<a b=1 c d='1' d='2'>x</a>", "<a b='<'>x</a>", "<a><![CDATA[x]]></a>",
        "<!-- c --><!DOCTYPE a><a><!-- c -->x</a><!-- c -->", "<a>x</a>\r\n"}) {
    const XmlTree tree = parse(document);
    EXPECT_TRUE(tree) << document;
    EXPECT_EQ("x", xml_text(tree.get())) << document;
  }
}

TEST_F(XmlFile, ThatIsNotWellFormedIsNotRead) {
  for (const char* document :
       {"", " ", "text", "<?xml version=\"1.0\"?>", "<!-- c -->", "<a>", "<a><b></a></b>",
        "<a/><b/>", "< a></ a>", "<1/>", "<a/ >", "</a>", "<a b='c></a>", "<![CDATA[x]]>"})
    EXPECT_FALSE(parse(document)) << document;
}

TEST_F(XmlFile, DecodesTextAndAttributes) {
  const XmlTree tree = parse("<a n=\"a&#10;\tb&lt;&x;&\">\r\n &#x20AC;&amp;lt;\t</a>");
  ASSERT_TRUE(tree);
  EXPECT_EQ("a\n b<&x;&", xml_attribute(tree.get(), "n"));
  EXPECT_EQ("\n \xE2\x82\xAC&lt;\t", xml_text(tree.get()));
}

TEST_F(XmlFile, MustBeARegularFile) {
  EXPECT_FALSE(parse_xml_file(path_));
  EXPECT_FALSE(parse_xml_file(folder_.path()));
  EXPECT_FALSE(parse_xml_file(""));
  for (const char* device : {"/dev/null", "/dev/zero", "/dev/tty"})
    EXPECT_FALSE(parse_xml_file(device)) << device;
  ASSERT_EQ(0, mkfifo(path_.c_str(), 0600));
  EXPECT_FALSE(parse_xml_file(path_));
  const int reader = open(path_.c_str(), O_RDONLY | O_NONBLOCK);  // so that writing needs no other
  write_file(path_, "<a/>");
  EXPECT_FALSE(parse_xml_file(path_));
  EXPECT_EQ(0, close(reader));
}

TEST_F(XmlFile, MayNotBeLargerThanTheBound) {
  write_file(path_, "<a/>");
  std::filesystem::resize_file(path_, most_xml_bytes + 1);  // zeros behind the end do no harm
  EXPECT_FALSE(parse_xml_file(path_));
  std::filesystem::resize_file(path_, most_xml_bytes);
  EXPECT_TRUE(parse_xml_file(path_));
}

TEST_F(XmlFile, MayBeReachedByALink) {
  write_file(folder_.file("target"), "<a/>");
  std::filesystem::create_symlink("target", path_);
  EXPECT_TRUE(parse_xml_file(path_));
}

TEST_F(XmlFile, TreeOutlivesItsMoves) {
  XmlTree moved;
  {
    XmlTree tree = parse("<a>short</a>");
    moved = std::move(tree);
  }
  EXPECT_EQ("short", xml_text(moved.get()));
}

const std::string entities = "<!DOCTYPE a [<!ENTITY x \"y&z;\">";

// The beginning of a DOCTYPE with entities of which each is twice as long as the last.
std::string growing_entities() {
  std::string doctype = "<!DOCTYPE b [<!ENTITY x0 \"BOOM\">";
  for (int i = 1; i <= 30; ++i) {
    const std::string last = "&x" + std::to_string(i - 1) + ';';
    doctype += "<!ENTITY x" + std::to_string(i) + " \"" + last + last + "\">";
  }
  return doctype;
}

const std::string hostile_documents[] = {
    "\xFE",
    "\xFF\xFE",
    "\xFE<",
    "<!DOCTYPE<!ENTITY Y=CDATA[a>",
    ("<!DOCTYPE a [<!zNTITY x \"y&z;\">x \"y&z;\"><!ENTITY z \"w\"><!ATTLIST a b CD&TA \"cb "
     "\xC3\xBB\xD9\xAB\xBE\x9C\x9D\xDF"
     "CD&TA!\"c\"a>"),
    "<!DOCTYPE a0[<!EN,ITY z\"yq &!;\"><!ENTITY z/<ssta>",
    "<a>\r<!DOCTYPE\r<",
    entities + "<!ENTITY z \"w\"><!\"><!ATTLIST\xE9\x9E\xDF\x9D\xDF\xBC\xBB\xBETAE\"\xFF\be/a>",
    "<:>\r\r<:\r\x8D",
    "<!DOCTYPE a [<!ENTITY x \"&y;\"><!ENTITY y \"&x;\">]><a>&x;</a>",
    "<a>&#x7fffffffffffffff;&lt;&lt;&lt;</a>",
    "<a>x&#-256;&lt;&lt;&lt;&lt;</a>",
    "<!DOCTYPE a [<!ENTITY x \"y",
    "<!DOCTYPE a [<!ATTLIST a b (c|d]><a/>",
    "<!DOCTYPE a [<!ENTITY a \"&b;\"><!ENTITY b \"&c;&c;\"><!ENTITY c \"&a;\">]><a>&a;</a>",
    "<!DOCTYPE ]",
    growing_entities() + "]><b>&x30;</b>",
    "<a>&#x1FFFFFFFF;&lt;</a>",
    "<r>" + repeated("<a/>", 40000) + "</r>",
    repeated("<a>", 100000) + repeated("</a>", 100000),
    "<r>" + repeated("x<!-- -->", 100000) + repeated("<?a?>", 100000) + "</r>",
    "<r>" + std::string(1 << 20, 'x') + repeated("<a/>", 20000) + "</r>"};

TEST_F(XmlFile, HostileContentIsSurvived) {
  for (const auto& document : hostile_documents) {
    (void)parse(document);  // refused or read, as long as it returns
    EXPECT_FALSE(FilterList__::LoadFromXML(path_)) << document.substr(0, 100);
  }
}

// Quadratic time would show: minutes for each of them.
TEST_F(XmlFile, LongTextsFullOfReferencesAreRead) {
  constexpr std::size_t count = 2000000;
  const XmlTree tree =
      parse("<a b=\"" + repeated("&amp;", count) + "\">" + repeated("&#38;\r\n", count) + "</a>");
  ASSERT_TRUE(tree);
  EXPECT_EQ(std::string(count, '&'), xml_attribute(tree.get(), "b"));
  EXPECT_EQ(repeated("&\n", count), xml_text(tree.get()));
}

// Runs `work` with half a megabyte of stack.
template <typename Work>
void run_on_small_stack(Work work) {
  pthread_attr_t attributes;
  ASSERT_EQ(0, pthread_attr_init(&attributes));
  ASSERT_EQ(0, pthread_attr_setstacksize(&attributes, 512 * 1024));
  const auto start = [](void* argument) -> void* {
    (*static_cast<Work*>(argument))();
    return nullptr;
  };
  pthread_t thread;
  ASSERT_EQ(0, pthread_create(&thread, &attributes, start, &work));
  ASSERT_EQ(0, pthread_join(thread, nullptr));
  ASSERT_EQ(0, pthread_attr_destroy(&attributes));
}

// ezxml_free() would call itself 60,000 times, one inside the other, for these rows inside rows.
TEST_F(XmlFile, LargeTreesAreFreedWithinTheStack) {
  std::string document = "<a/>";
  for (int i = 0; i < 60; ++i) document = repeated("<a/>", 999) + "<a>" + document + "</a>";
  bool read = false;
  run_on_small_stack([&] { read = parse("<r>" + document + "</r>") != nullptr; });
  EXPECT_TRUE(read);
}

std::string written(XmlTree document) {
  std::ostringstream out;
  return write_xml(std::move(document), out) ? out.str() : "(refused)" + out.str();
}

TEST(XmlWriting, PrintsCompactlyInTheOrderOfAdding) {
  XmlTree document = new_xml_document("r");
  ezxml* const a = add_xml_child(document.get(), "a");
  ASSERT_TRUE(set_xml_attribute(a, "z", "1"));
  ASSERT_TRUE(set_xml_attribute(a, "b", "<\"'&\t\n\r>"));
  ASSERT_TRUE(add_xml_child(document.get(), "b", "<\"'&\t\n\r>]]>"));
  ASSERT_TRUE(add_xml_child(document.get(), "a", ""));
  ASSERT_TRUE(add_xml_child(a, "c", " "));
  EXPECT_EQ(
      "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
      "<r version=\"1.0\"><a z=\"1\" b=\"&lt;&quot;'&amp;&#x9;&#xA;&#xD;&gt;\"><c> </c></a>"
      "<b>&lt;\"'&amp;\t\n&#xD;&gt;]]&gt;</b><a></a></r>",
      written(std::move(document)));
}

TEST(XmlWriting, AttributesAreReplaced) {
  XmlTree document = new_xml_document("r");
  ASSERT_TRUE(set_xml_attribute(document.get(), "version", "2"));
  EXPECT_EQ("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<r version=\"2\"></r>",
            written(std::move(document)));
}

TEST(XmlWriting, NothingIsAddedToNothing) {
  EXPECT_FALSE(add_xml_child(nullptr, "a"));
  EXPECT_FALSE(add_xml_child(nullptr, "a", "b"));
  EXPECT_FALSE(set_xml_attribute(nullptr, "a", "b"));
}

TEST(XmlWriting, NulsAreRefused) {
  const XmlTree document = new_xml_document("r");
  const std::string nul("a\0b", 3);
  EXPECT_FALSE(add_xml_child(document.get(), "a", nul));
  EXPECT_FALSE(set_xml_attribute(document.get(), "a", nul));
  EXPECT_FALSE(xml_child(document.get(), "a"));
}

TEST(XmlWriting, DocumentsThatCouldNotBeReadAreNotWritten) {
  XmlTree document = new_xml_document("r");
  ezxml* deepest = document.get();
  for (std::size_t i = 0; i < most_xml_depth; ++i) deepest = add_xml_child(deepest, "a");
  ASSERT_TRUE(deepest);
  EXPECT_EQ("(refused)", written(std::move(document)));
}

TEST(XmlWriting, NothingIsNotWritten) { EXPECT_EQ("(refused)", written(XmlTree())); }

}  // namespace
}  // namespace Quarrow::MessageFilters
