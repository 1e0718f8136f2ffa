// The names of elements and attributes, and their words, in the documents that the library reads
// and writes.
#ifndef QUARROW_MESSAGE_FILTERS_DOCUMENT_WORDS_H_
#define QUARROW_MESSAGE_FILTERS_DOCUMENT_WORDS_H_

namespace Quarrow::DocumentWords {

// The rules document, from the outside in.
constexpr char filters[] = "filters";
constexpr char filter[] = "filter";
constexpr char name[] = "name";
constexpr char enabled[] = "enabled";
constexpr char id[] = "id";
constexpr char tests[] = "tests";
constexpr char relation[] = "relation";
constexpr char test[] = "test";
constexpr char comparator[] = "comparator";
constexpr char match_case[] = "case";
constexpr char negative[] = "negative";
constexpr char actions[] = "actions";
constexpr char action[] = "action";
constexpr char method[] = "method";
constexpr char target[] = "target";
constexpr char value[] = "value";  // of a test, and of an action

// The catalogue of fields. A test has a field as well.
constexpr char fields[] = "fields";
constexpr char field[] = "field";
constexpr char type[] = "type";

// An attribute that is one or the other.
constexpr char yes[] = "true";
constexpr char no[] = "false";

}  // namespace Quarrow::DocumentWords

#endif  // QUARROW_MESSAGE_FILTERS_DOCUMENT_WORDS_H_
