// What a node's name and its transport look like.
#ifndef QUARROW_HOMES_NODE_TEXT_H_
#define QUARROW_HOMES_NODE_TEXT_H_

#include <string>

namespace Quarrow::Homes {

// Why `name` can't be a node's, for a person: it is of ASCII letters, digits, ".", "-" and "_", and
// begins with a letter or a digit. Empty when it can.
std::string node_name_fault(const std::string& name);

// Why `transport` can't be a node's: it is one of Postfix with a next hop (transport(5)), such as
// "lmtp:inet:[10.0.0.1]:24", and without blanks. Empty when it can.
std::string transport_fault(const std::string& transport);

}  // namespace Quarrow::Homes

#endif  // QUARROW_HOMES_NODE_TEXT_H_
