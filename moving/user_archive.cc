// Lines of a word and a value.
#include "moving/user_archive.h"

namespace Quarrow::Moving {

std::string description_text(const std::string& user) { return "version 1\nuser " + user + '\n'; }

std::string end_text(const Counts& counts, const std::string& sum) {
  return "files " + std::to_string(counts.files) + "\nfolders " + std::to_string(counts.folders) +
         "\nbytes " + std::to_string(counts.bytes) + "\nsha256 " + sum + '\n';
}

}  // namespace Quarrow::Moving
