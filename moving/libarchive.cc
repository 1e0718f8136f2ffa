// libarchive, loaded once.
#include "moving/libarchive.h"

namespace Quarrow::Moving {

const Libarchive& libarchive() {
  static const Libarchive functions;
  return functions;
}

}  // namespace Quarrow::Moving
