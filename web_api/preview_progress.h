// How far a preview has come, and what it has counted.
#ifndef QUARROW_WEB_API_PREVIEW_PROGRESS_H_
#define QUARROW_WEB_API_PREVIEW_PROGRESS_H_

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "web_api/mail_listing.h"

namespace Quarrow::WebApi {

// Numbers of messages.
struct PreviewProgress {
  std::uint64_t examined = 0;
  std::uint64_t caught = 0;
  std::uint64_t changed = 0;
  std::uint64_t failed = 0;
  std::uint64_t examples = 0;                           // of those caught, how many were shown
  std::map<std::int32_t, std::uint64_t> taken_earlier;  // by the number of the filter
  std::optional<ListedMessage> last;                    // the one that was examined last
};

// A text from which the next request goes on. `question` is what was asked, in a short form.
std::string cursor_of(const PreviewProgress& progress, const std::string& question);

// Reads such a text. A client may have made it: whatever is in it, the numbers are no larger than
// `most`, and it can do no more than make that client's counts wrong. False for any other text.
bool read_cursor(const std::string& cursor, std::uint64_t most, PreviewProgress& progress,
                 std::string& question);

}  // namespace Quarrow::WebApi

#endif  // QUARROW_WEB_API_PREVIEW_PROGRESS_H_
