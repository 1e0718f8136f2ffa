// The examples in docs/ are what the library reads and writes.

#include <gtest/gtest.h>
#include <quarrow/user_stores.h>

#include "tests/support/temporary_folder_test_support.h"

namespace {

using namespace Quarrow::MessageFilters;

// The text of the last fenced block of a page.
std::string example_of(const std::string& page) {
  const std::string text = content_of(DOCS_FOLDER "/" + page);
  const std::size_t end = text.rfind("```");
  const std::size_t fence = text.rfind("```", end - 1);
  const std::size_t begin = text.find('\n', fence) + 1;
  return text.substr(begin, end - begin);
}

// Documents end without a line feed.
std::string document_of(const std::string& page) {
  std::string text = example_of(page);
  text.pop_back();
  return text;
}

TEST(DocumentedExamples, RulesDocumentIsReadAndWrittenAlike) {
  const TemporaryFolder folder;
  const auto list = FilterList__::LoadFromXML(folder.write("in", document_of("rules-document.md")));
  ASSERT_TRUE(list);
  EXPECT_EQ(2U, list->filters.size());
  ASSERT_TRUE(list->SaveToXML(folder.file("out")));
  EXPECT_EQ(document_of("rules-document.md"), content_of(folder.file("out")));
}

TEST(DocumentedExamples, RulesDocumentCompilesIntoTheScript) {
  const TemporaryFolder folder;
  const auto list = FilterList__::LoadFromXML(folder.write("in", document_of("rules-document.md")));
  ASSERT_TRUE(list);
  ASSERT_TRUE(list->SaveToSieve(folder.file("script"), false));
  EXPECT_EQ(example_of("script.md"), content_of(folder.file("script")));
}

TEST(DocumentedExamples, FieldCatalogueIsReadAndWrittenAlike) {
  const TemporaryFolder folder;
  UserFields__ fields(EmailAddress("alice@example.org"));
  fields.fields.clear();
  ASSERT_TRUE(fields.load(folder.write("in", document_of("field-catalogue.md")), true));
  EXPECT_EQ(2U, fields.fields.size());
  ASSERT_TRUE(fields.persist(folder.file("out")));
  EXPECT_EQ(document_of("field-catalogue.md"), content_of(folder.file("out")));
}

}  // namespace
