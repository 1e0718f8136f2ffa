// A user's ordered list of filters, and its two forms on disk.
#ifndef QUARROW_FILTER_LIST_H_
#define QUARROW_FILTER_LIST_H_

#include <boost/enable_shared_from_this.hpp>
#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <list>
#include <string>

#include "quarrow/export.h"
#include "quarrow/rule_model.h"

namespace Quarrow::MessageFilters {

// The filters of one user in the order in which they are tried; the first that matches a message
// decides. Always held by a shared pointer, and used by one thread at a time.
//
// Searches take the first filter that has the id or the name: neither is unique by force. A refused
// operation leaves the list as it was.
class QUARROW_EXPORT FilterList__ : public boost::enable_shared_from_this<FilterList__> {
 public:
  using position = std::list<boost::shared_ptr<Filter__>>::iterator;

  // A new, empty list.
  static boost::shared_ptr<FilterList__> Create();

  // The list in the rules document at `path`. Empty when the file is missing, unreadable, not
  // well-formed, or holds no filter. Tests and actions that are not valid are left out, and so are
  // tests beyond Filter__::max_tests(). A filter that lacks a name, tests or a valid action ends
  // the process: no document that SaveToXML wrote holds one.
  static boost::shared_ptr<FilterList__> LoadFromXML(const std::string& path);

  // Writes the rules document. False when the file can't be opened (it is untouched then), or when
  // a filter, test or action is invalid or can't be read again from XML: a text with a NUL, a list
  // of more than 20,000, 64 MiB in all (it is left empty then). Whether all bytes reached the disk
  // is not looked at. Throws boost::bad_weak_ptr when no shared pointer owns the list.
  bool SaveToXML(const std::string& path);

  // Writes the Sieve script (RFC 5228) of the enabled filters, or of all when `include_disabled`.
  // Filters without tests are left out. False, with the file untouched, when a filter that is to be
  // written is invalid or the file can't be opened. Throws boost::bad_weak_ptr when no shared
  // pointer owns the list.
  bool SaveToSieve(const std::string& path, bool include_disabled);

  // The place of the first filter with that id or name, or filters.end().
  position __find_filter(std::int32_t id);
  position __find_filter(const std::string& name);

  // The first filter with that id or name; empty when there is none.
  boost::shared_ptr<Filter__> find_filter(std::int32_t id);
  boost::shared_ptr<Filter__> find_filter(const std::string& name);

  // Inserts `filter` before the filter whose id is `position_id`, or at the end when there is no
  // such filter. A filter without an id is given the next id. False when the filter is empty or
  // invalid, or when no id is left.
  bool add(const boost::shared_ptr<Filter__>& filter, std::int32_t position_id);

  // Adds `filter` at the end.
  bool append(const boost::shared_ptr<Filter__>& filter);

  // Removes the first filter with that name or id. False when there is none. Ids are not given a
  // second time.
  bool remove(const std::string& name);
  bool remove(std::int32_t id);

  // Moves the filter `id` directly before or after the filter `target`. Without such a target it
  // goes to the front (move_before) or to the end (move_after). False when no filter has the id;
  // always true when both are the same.
  bool move_before(std::int32_t id, std::int32_t target);
  bool move_after(std::int32_t id, std::int32_t target);

  // Moves the filter `id` by `count` places towards the front or the end, and stops there. False
  // when no filter has the id; always true when `count` is 0.
  bool move_up(std::int32_t id, std::uint64_t count);
  bool move_down(std::int32_t id, std::uint64_t count);

  std::list<boost::shared_ptr<Filter__>> filters;
  std::int32_t last_id = 0;  // the highest id given so far
};

}  // namespace Quarrow::MessageFilters

#endif  // QUARROW_FILTER_LIST_H_
