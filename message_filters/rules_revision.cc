// Revisions by Boost, whose headers alone are needed: a library for hashes would have to be loaded
// by each command.
#include "message_filters/rules_revision.h"

#include <boost/uuid/name_generator_sha1.hpp>
#include <boost/uuid/nil_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

namespace Quarrow {

std::string rules_revision(const std::string& document) {
  const auto uuid = boost::uuids::name_generator_sha1(boost::uuids::nil_uuid())(document);
  const std::string text = to_string(uuid);  // xxxxxxxx-xxxx-5xxx-...
  return text.substr(0, 8) + text.substr(9, 4);
}

}  // namespace Quarrow
