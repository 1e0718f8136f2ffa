// From UTF-8 to modified UTF-7.
#include "message_filters/mailbox_name.h"

#include <zvellparser.h>

namespace Quarrow::MessageFilters {
namespace {

const char imap_charset[] = "IMAP-mailbox-name";
constexpr std::size_t converter_limit = 1024;  // bytes of one level of a folder

std::string imap_level(const std::string& level) {
  return ZvellConv::fromUtf8(imap_charset, level.data(), level.size(), converter_limit).data();
}

}  // namespace

std::string imap_mailbox_name(const std::string& folder) {
  std::string name;
  std::size_t start = 0;
  // The character behind a separator never separates: "a//b" is "a" and "/b".
  for (std::size_t end = folder.find('/'); end != std::string::npos;
       end = folder.find('/', start + 1)) {
    name += imap_level(folder.substr(start, end - start)) + '/';
    start = end + 1;
  }
  return name + imap_level(folder.substr(start));
}

}  // namespace Quarrow::MessageFilters
