// The document of a user's rules, from the user's folder: read, written and read again.
#include "administration/document_loss.h"
#include "administration/rules_text.h"
#include "fuzz/expectation.h"
#include "fuzz/rules.h"
#include "fuzz/target.h"
#include "message_filters/document_words.h"
#include "message_filters/filter_list_xml.h"

namespace Quarrow::Fuzz {
namespace {

// Whether loading the document would end the process, as it does for a filter that no writer made.
bool is_damaged(ezxml* root) {
  using namespace MessageFilters;
  for (ezxml* element = xml_child(root, DocumentWords::filter); element;
       element = xml_next(element))
    if (!filter_from_xml(element)) return true;
  return false;
}

void read_and_write(const std::string& document) {
  const auto tree = MessageFilters::parse_xml(document);
  if (!tree || is_damaged(tree.get())) return;
  const auto list = Administration::list_of(document);
  if (!list) return;
  (void)Administration::document_loss(document, list);  // it comes to an end
  const std::string written = Administration::document_text(list);
  const auto again = Administration::list_of(written);
  expect(again != nullptr, "a document that was written can be read");
  expect_equal(bytes_of(*list), bytes_of(*again), "it gives the same list");
  expect_equal(written, Administration::document_text(again), "and is written the same");
  expect_equal("", Administration::document_loss(written, again), "nothing of it gets lost");
}

const Target target("rules_document", read_and_write);

}  // namespace
}  // namespace Quarrow::Fuzz
