// The elements of the rules document.
#ifndef QUARROW_MESSAGE_FILTERS_FILTER_LIST_XML_H_
#define QUARROW_MESSAGE_FILTERS_FILTER_LIST_XML_H_

#include <boost/shared_ptr.hpp>

#include "message_filters/xml_document.h"
#include "quarrow/filter_list.h"
#include "quarrow/rule_model.h"

namespace Quarrow::MessageFilters {

// The document of a list. Empty when the list is, or when a filter, test or action is invalid or
// can't be written as XML: none is left out.
XmlTree filter_list_to_xml(const boost::shared_ptr<FilterList__>& list);

// The list of a document's root element. Empty, or the end of the process, as
// FilterList__::LoadFromXML says.
boost::shared_ptr<FilterList__> filter_list_from_xml(ezxml* root);

// The filter of a "filter" element. Empty when it has no name, no "tests", no valid action, or an
// unknown word for "enabled" or "relation". Tests and actions that are invalid are left out.
boost::shared_ptr<Filter__> filter_from_xml(ezxml* element);

// The test of a "test" element. A part that is missing or unknown keeps its default, so that the
// test may be invalid.
Test test_from_xml(ezxml* element);

}  // namespace Quarrow::MessageFilters

#endif  // QUARROW_MESSAGE_FILTERS_FILTER_LIST_XML_H_
