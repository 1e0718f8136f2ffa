// The paths of a user's files, and how a new one takes the place of an old one.
#ifndef QUARROW_MESSAGE_FILTERS_USER_FILTER_PATH_H_
#define QUARROW_MESSAGE_FILTERS_USER_FILTER_PATH_H_

#include <zvellparser.h>

#include <string>

#include "message_filters/user_files.h"

namespace Quarrow::MessageFilters {

// The files that user_filter_path names.
enum {
  FILTER_DIRECTORY = 0,  // nothing: the folder is the host's business, and this gives no path
  FILTER_XML = 1,        // the rules document
  FILTER_SIEVE = 2,      // the script that delivery runs
  CUSTOM_FIELDS_XML = 3  // the user's own fields
};

// The path of a user's file, in the folder in which the host keeps the user's preferences. Empty
// for FILTER_DIRECTORY and for unknown selectors.
std::string user_filter_path(const EmailAddress& address, int selector);

// Removes the file `path` and gives its name to the one at temporary_path(path). For a moment there
// is no such file. Failures are ignored.
void put_in_place(const std::string& path);

}  // namespace Quarrow::MessageFilters

#endif  // QUARROW_MESSAGE_FILTERS_USER_FILTER_PATH_H_
