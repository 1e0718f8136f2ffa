// A /var/spool of the test process's own, so that tests can put a system catalogue there.
#ifndef QUARROW_MESSAGE_FILTERS_PRIVATE_SPOOL_TEST_SUPPORT_H_
#define QUARROW_MESSAGE_FILTERS_PRIVATE_SPOOL_TEST_SUPPORT_H_

#include <string>

namespace Quarrow::MessageFilters {

// Puts an empty file system in place of /var/spool, seen by this process alone and until it ends; a
// second call does nothing. The reason, when the system does not permit that; else empty.
std::string enter_private_spool();

// Writes the system catalogue, or removes it. Only after enter_private_spool() has succeeded.
void write_system_catalogue(const std::string& document);
void remove_system_catalogue();

}  // namespace Quarrow::MessageFilters

#endif  // QUARROW_MESSAGE_FILTERS_PRIVATE_SPOOL_TEST_SUPPORT_H_
