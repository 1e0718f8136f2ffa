// Names of fields that are no headers of their own.
#ifndef QUARROW_MESSAGE_FILTERS_FIELD_NAMES_H_
#define QUARROW_MESSAGE_FILTERS_FIELD_NAMES_H_

namespace Quarrow::FieldNames {

// To and Cc, and From as well.
constexpr char to_cc[] = "to_cc";
constexpr char from_to_cc[] = "from_to_cc";

// The local date on which a message was received, as YYYYMMDD. Scripts ask for it as for a header.
constexpr char received_date[] = "zvx-received-date";

}  // namespace Quarrow::FieldNames

#endif  // QUARROW_MESSAGE_FILTERS_FIELD_NAMES_H_
