// Texts that are taken apart from their front.
#ifndef QUARROW_IMPORTING_TEXT_FRONT_H_
#define QUARROW_IMPORTING_TEXT_FRONT_H_

#include <string_view>

namespace Quarrow::Importing {

// Takes `part` off the front of `text`; whether it was there.
inline bool take_front(std::string_view& text, std::string_view part) {
  if (text.substr(0, part.size()) != part) return false;
  text.remove_prefix(part.size());
  return true;
}

}  // namespace Quarrow::Importing

#endif  // QUARROW_IMPORTING_TEXT_FRONT_H_
