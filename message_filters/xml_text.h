// The text of XML documents in a form that ezXML reads safely and in linear time.
//
// ezXML reads past its buffers on several malformed documents, expands entities of a document
// without bounds, and takes quadratic time for a text with many references ("&amp;") and for a long
// row of elements. So it is only given what it handles well: elements, attributes and text, within
// bounds, and with a mark in place of each "&". References are decoded when a text is read.
#ifndef QUARROW_MESSAGE_FILTERS_XML_TEXT_H_
#define QUARROW_MESSAGE_FILTERS_XML_TEXT_H_

#include <cstddef>
#include <optional>
#include <string>

namespace Quarrow::MessageFilters {

constexpr std::size_t most_xml_bytes = std::size_t{64} << 20;  // of one document
constexpr std::size_t most_xml_depth = 64;                     // of elements inside each other
constexpr std::size_t most_xml_children = 20000;               // of one element
constexpr std::size_t most_xml_elements = 1000000;             // of one document

// `document` as ezXML is to read it: line ends are LF, comments, processing instructions, the
// DOCTYPE and text outside the root are gone, CDATA is plain text, and "&" is marked. Nothing when
// the document is empty, passes a bound, starts with byte FE or FF (UTF-16), has a DOCTYPE with a
// "[" anywhere behind it, has a "&#" that is no reference to U+0001 to U+10FFFF, or holds markup
// that does not end or CDATA outside the root. The rest of well-formedness is left to ezXML. Text
// behind a NUL does not count.
std::optional<std::string> readable_xml(const std::string& document);

// A text or attribute value that ezXML took from readable_xml(), with its references decoded.
// Unknown references stay as they are.
std::string decode_references(const std::string& text);

}  // namespace Quarrow::MessageFilters

#endif  // QUARROW_MESSAGE_FILTERS_XML_TEXT_H_
