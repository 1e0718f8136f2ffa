// The files of one user: the fields that tests may name, and the filters.
#ifndef QUARROW_USER_STORES_H_
#define QUARROW_USER_STORES_H_

#include <zvellparser.h>

#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <list>
#include <string>

#include "quarrow/export.h"
#include "quarrow/filter_list.h"
#include "quarrow/rule_model.h"

namespace Quarrow::MessageFilters {

// The catalogue of fields that a user's tests may name: the system's, which are read-only, then the
// user's own. Always held by a shared pointer, and used by one thread at a time. Changes stay in
// memory until persist().
class QUARROW_EXPORT UserFields__ {
 public:
  // The catalogue of a user; empty when the address is null.
  static boost::shared_ptr<UserFields__> Create(const EmailAddress& address);

  // Loads the system catalogue /var/spool/etc/message_filter_fields.xml and then, when there was a
  // system catalogue, the user's own.
  explicit UserFields__(const EmailAddress& address);

  // Appends the fields of the catalogue document at `path`, marked as `customized` or not. False,
  // with nothing appended, when the file is missing, unreadable or not well-formed.
  bool load(const std::string& path, bool customized);

  // Appends a field as it stands. False when its type is invalid, its name is empty, or a field of
  // that name is there already, regardless of case as the global locale sees it.
  bool add_field(const Field& field);

  // Removes the first customized field of exactly that name. False when there is none.
  bool remove_field(const std::string& name);

  // Removes all customized fields.
  void clear_customized_fields();

  // Writes the customized fields as a catalogue document. False when one of them is invalid or the
  // file can't be opened; it is untouched then. Whether all bytes reached the disk is not looked
  // at.
  bool persist(const std::string& path);

  // Writes the user's own catalogue: aside first, then in place of the old one. False when it can't
  // be written.
  bool persist();

  EmailAddress owner;
  std::list<Field> fields;  // the system's, the user's, then added ones
};

// One user's filters as the administration sees them: loaded, edited within a limit, checked, and
// committed as rules document and script together. Always held by a shared pointer, and used by one
// thread at a time; two commits for one user must not run at once.
class QUARROW_EXPORT UserMessageFilters__ {
 public:
  // The filters of a user, none when there is no readable document; empty when the address is null.
  // A document that FilterList__::LoadFromXML does not survive ends the process.
  static boost::shared_ptr<UserMessageFilters__> Create(const EmailAddress& address);

  explicit UserMessageFilters__(const EmailAddress& address);

  // The most filters that a user may have: 20, 60 or 100, by the grade in the host's configuration.
  static std::uint64_t max_filters();

  // Whether there is no room for a further filter.
  bool max_filters_reached() const;

  // Adds a filter like FilterList__::add. False, too, when max_filters() is reached.
  bool add_filter(const boost::shared_ptr<Filter__>& filter, std::uint32_t position_id);

  // Removes the first filter with that id. False when there is none.
  bool remove_filter(std::uint32_t id);

  // Compiles a script of this one test. 0: accepted. 1: Test::is_valid is false. 2: the script
  // could not be written. 3: the Sieve compiler refused it.
  int validate_test(const Test& test);

  // Commits the rules document and the script together. 0: done. 2: a file could not be written. 3:
  // the Sieve compiler refused a rule, be it a disabled one. After 2 and 3 the committed files
  // stand as they were.
  int persist();

  EmailAddress address;
  boost::shared_ptr<FilterList__> filters;  // never empty; may be edited directly
};

}  // namespace Quarrow::MessageFilters

#endif  // QUARROW_USER_STORES_H_
