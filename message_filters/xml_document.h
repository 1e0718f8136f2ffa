// XML documents: read from files, built, and written. The only use of ezXML in the library.
#ifndef QUARROW_MESSAGE_FILTERS_XML_DOCUMENT_H_
#define QUARROW_MESSAGE_FILTERS_XML_DOCUMENT_H_

#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

struct ezxml;

namespace Quarrow::MessageFilters {

// Frees a tree, and then the text that a parsed tree points into.
struct XmlTreeFree {
  void operator()(ezxml* root) const;

  std::unique_ptr<char[]> text;
};

// The owner of a tree. It points to the root element.
using XmlTree = std::unique_ptr<ezxml, XmlTreeFree>;

// The tree of the document at `path`. Empty when the file is missing, unreadable, no regular file,
// not well-formed, or refused by readable_xml().
XmlTree parse_xml_file(const std::string& path);

// The tree of a document's text. Empty when it is not well-formed, or refused by readable_xml().
XmlTree parse_xml(const std::string& document);

// The first child of `element` with that name, and from there the next of the same name; null when
// there is none.
ezxml* xml_child(ezxml* element, const char* name);
ezxml* xml_next(ezxml* element);

// The first child of `element` whatever its name, and from there the next one in the document's
// order; null when there is none.
ezxml* xml_first_child(ezxml* element);
ezxml* xml_following(ezxml* child);

// The name of an element.
std::string xml_name(const ezxml* element);

// The text of an element of a parsed document; empty for null.
std::string xml_text(const ezxml* element);

// An attribute of an element of a parsed document. Nothing when it is absent.
std::optional<std::string> xml_attribute(ezxml* element, const char* name);

// All attributes of an element of a parsed document, as pairs of name and value.
std::vector<std::pair<std::string, std::string>> xml_attributes(const ezxml* element);

// A new document: "version" is "1.0", as in all that this system writes. `root` must outlive it.
XmlTree new_xml_document(const char* root);

// Adds a child, without or with text, behind those that are there. Null when `parent` is null, or
// the text holds a NUL, which XML can't express. `name` must outlive the tree.
ezxml* add_xml_child(ezxml* parent, const char* name);
ezxml* add_xml_child(ezxml* parent, const char* name, const std::string& text);

// Sets an attribute and gives back the element. Null when `element` is null or the value holds a
// NUL.
ezxml* set_xml_attribute(ezxml* element, const char* name, const std::string& value);

// Writes the declaration, a line end and the document, with no line end behind it. False, with
// nothing written, when parse_xml_file() would refuse the document for its size.
bool write_xml(XmlTree document, std::ostream& out);

}  // namespace Quarrow::MessageFilters

#endif  // QUARROW_MESSAGE_FILTERS_XML_DOCUMENT_H_
