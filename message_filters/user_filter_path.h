// Where a user's files are, and how a new one takes the place of an old one.
#ifndef MESSAGE_FILTERS_USER_FILTER_PATH_H_
#define MESSAGE_FILTERS_USER_FILTER_PATH_H_

#include <zvellparser.h>

#include <string>

namespace Quarrow {
namespace MessageFilters {

// What user_filter_path names.
enum {
  FILTER_DIRECTORY = 0,  // nothing: the folder is the host's business, and this gives no path
  FILTER_XML = 1,        // ".delivery_filter.xml": the rules document
  FILTER_SIEVE = 2,      // ".delivery_filter": the script that delivery runs
  CUSTOM_FIELDS_XML = 3  // ".delivery_filter.custom.xml": the user's own fields
};

// The path of a user's file, in the folder that the host keeps his preferences in. Empty for
// FILTER_DIRECTORY and for unknown selectors.
std::string user_filter_path(const EmailAddress& address, int selector);

// Where the new content of the file `path` is written first: `path` with ".tmp" behind it.
std::string temporary_path(const std::string& path);

// Removes the file `path` and gives its name to the one at temporary_path(path). For a moment there
// is no such file. Failures are ignored.
void put_in_place(const std::string& path);

}  // namespace MessageFilters
}  // namespace Quarrow

#endif  // MESSAGE_FILTERS_USER_FILTER_PATH_H_
