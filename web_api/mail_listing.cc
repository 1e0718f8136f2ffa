// Names, put in order only as far as they are asked for.
#include "web_api/mail_listing.h"

#include <sys/stat.h>

#include <algorithm>
#include <tuple>

#include "message_filters/user_files.h"
#include "trial/maildir_name.h"

namespace Quarrow::WebApi {
namespace {

// How often a message is looked for that keeps changing its name.
constexpr int most_looks = 3;

}  // namespace

bool is_newer(const ListedMessage& a, const ListedMessage& b) {
  return std::tie(a.received, a.unique) > std::tie(b.received, b.unique);
}

int MailListing::open(int user_folder, const std::string& name) {
  if (const int error = folder_.open(maildir_name, name, user_folder)) return error;
  if (const int error = folder_.read()) return error;
  messages_.reserve(folder_.messages().size());
  for (const auto& [unique, place] : folder_.messages())
    if (!unique.empty()) messages_.push_back({time_of(unique, place), unique});
  return 0;
}

// A folder may hold 100,000 messages: sorting all of them would take longer than reading 500.
std::vector<ListedMessage> MailListing::newest(const std::optional<ListedMessage>& behind,
                                               std::size_t most) const {
  std::vector<const ListedMessage*> left;
  for (const auto& message : messages_)
    if (!behind || is_newer(*behind, message)) left.push_back(&message);
  const auto newer = [](const ListedMessage* a, const ListedMessage* b) {
    return is_newer(*a, *b);
  };
  if (left.size() > most) {
    std::nth_element(left.begin(), left.begin() + static_cast<std::ptrdiff_t>(most), left.end(),
                     newer);
    left.resize(most);
  }
  std::sort(left.begin(), left.end(), newer);
  std::vector<ListedMessage> newest;
  for (const auto* message : left) newest.push_back(*message);
  return newest;
}

std::optional<ListedMessage> MailListing::find(const std::string& unique) const {
  const auto place = folder_.find(unique);
  if (!place) return std::nullopt;
  return ListedMessage{time_of(unique, *place), unique};
}

Opening MailListing::open(const ListedMessage& message, OpenedMessage& opened) {
  auto place = folder_.find(message.unique);
  for (int look = 0; look < most_looks && place; ++look) {
    const Trial::MailSource source = {message.unique + place->info, 0, true, folder_.part(*place)};
    opened.contents = std::make_unique<Trial::MailContents>();
    if (!opened.contents->open(source)) {
      opened.message = messages_of(source, *opened.contents).front();
      return Opening::done;
    }
    const auto before = place;
    if (folder_.read() != 0) return Opening::unreadable;
    place = folder_.find(message.unique);
    if (place && *place == *before) return Opening::unreadable;
  }
  return place ? Opening::unreadable : Opening::gone;
}

bool MailListing::is_seen(const ListedMessage& message) const {
  const auto place = folder_.find(message.unique);
  return place && place->info.compare(0, 3, ":2,") == 0 &&
         place->info.find('S', 3) != std::string::npos;
}

std::time_t MailListing::time_of(const std::string& unique, const Refiling::Place& place) const {
  if (const auto time = Trial::time_in_name(unique)) return *time;
  struct stat status {};
  const std::string name = unique + place.info;
  return fstatat(folder_.part(place), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0
             ? status.st_mtime
             : 0;
}

}  // namespace Quarrow::WebApi
