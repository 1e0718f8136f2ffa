// One file after the other.
#include "trial/message_search.h"

#include <cerrno>
#include <filesystem>

#include "delivery/header_end.h"
#include "trial/mail_contents.h"

namespace Quarrow::Trial {
namespace {

namespace fs = std::filesystem;

const char blanks[] = " \t\r\n";

std::string trimmed(const std::string& text) {
  const std::size_t begin = text.find_first_not_of(blanks);
  if (begin == std::string::npos) return "";
  return text.substr(begin, text.find_last_not_of(blanks) + 1 - begin);
}

bool has_id(const FoundMessage& message, const std::string& id, IsolatedRuns& runs) {
  if (Delivery::header_of(message.bytes).find(id) == std::string_view::npos) return false;
  const auto value = runs.header_value(message, 0, "message-id");
  return value.text && trimmed(*value.text) == id;
}

bool is_link(const fs::path& path) {
  std::error_code error;
  return fs::is_symlink(fs::symlink_status(path, error));
}

}  // namespace

std::string message_id_of(const std::string& text) {
  std::string id = trimmed(text);
  if (!id.empty() && id.front() == '<') id.erase(0, 1);
  if (!id.empty() && id.back() == '>') id.pop_back();
  return id.empty() ? "" : '<' + id + '>';
}

FoundMail find_message(const std::string& folder, const std::string& id, IsolatedRuns& runs) {
  if (is_link(folder) || is_link(fs::path(folder).parent_path()))
    return {{}, {cannot_read(folder, ELOOP)}};
  FoundMail found = find_mail({folder});
  const auto sources = std::move(found.sources);
  found.sources.clear();
  for (const auto& source : sources) {
    MailContents contents;
    if (auto failure = contents.open(source)) {
      found.failures.push_back(std::move(*failure));
      continue;
    }
    for (const auto& message : messages_of(source, contents)) {
      if (!has_id(message, id, runs)) continue;
      found.sources = {source};
      return found;
    }
  }
  return found;
}

}  // namespace Quarrow::Trial
