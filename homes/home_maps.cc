// The maps, and what they make of a lookup.
#include "homes/home_maps.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "server/log.h"
#include "system/printable.h"

namespace Quarrow::Homes {
namespace {

using Result = HomeFound::Result;

// Postfix' transport of that name has mail wait in the queue.
const char waiting[] = "retry:4.2.1 The mailbox is being moved";

std::string transport_of(const HomeFound& found) {
  return found.result == Result::moving ? waiting : found.transport;
}

std::string user_of(const HomeFound& found) { return found.user; }

// What a map has for a user who is known.
const struct {
  const char* name;
  std::string (*value)(const HomeFound& found);
} maps[] = {{"transport", transport_of}, {"user", user_of}};

HomeCounter counter_of(Result result) {
  switch (result) {
    case Result::found:
      return HomeCounter::found;
    case Result::moving:
      return HomeCounter::moving;
    case Result::unknown:
      return HomeCounter::unknown;
    default:
      return HomeCounter::unavailable;
  }
}

}  // namespace

HomeMaps::HomeMaps(HomeLookup lookup, HomeCounters& counters)
    : lookup_(std::move(lookup)), counters_(counters) {}

std::string HomeMaps::answer(const std::string& request) {
  const std::size_t blank = request.find(' ');
  if (blank == std::string::npos) return refuse("a request is a map and a key");
  const std::string name = request.substr(0, blank);
  const auto* const map = std::find_if(std::begin(maps), std::end(maps),
                                       [&name](const auto& each) { return each.name == name; });
  if (map == std::end(maps)) return refuse("there is no such map");
  const HomeFound found = look_up(request.substr(blank + 1));
  if (found.result == Result::unknown) return "NOTFOUND ";
  if (found.result == Result::unavailable)
    return "TEMP " + with_controls_as(' ', shortened(found.reason));
  return "OK " + map->value(found);
}

std::string HomeMaps::refuse(const std::string& reason) {
  counters_.add(HomeCounter::refused);
  return "PERM " + reason;
}

HomeFound HomeMaps::look_up(const std::string& address) {
  HomeFound found = lookup_.look_up(address);
  counters_.add(counter_of(found.result));
  if (!found.reason.empty() && found.reason != fault_) Server::log_error(found.reason);
  fault_ = found.reason;
  return found;
}

}  // namespace Quarrow::Homes
