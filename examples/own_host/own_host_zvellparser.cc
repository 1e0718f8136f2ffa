#include "zvellparser.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <sstream>

namespace {

std::string lower_case(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

Buffer buffer_of(const char* data, std::size_t length) {
  Buffer buffer;
  buffer.append(data, length);
  return buffer;
}

}  // namespace

EmailAddress::EmailAddress(const std::string& text) {
  // No slash: an address names a folder here.
  if (text.find('@') != std::string::npos && text.find('/') == std::string::npos) address_ = text;
}

Header HeaderContainer::find(const std::string& name) const {
  const auto found = values_.find(lower_case(name));
  return found == values_.end() ? Header() : Header(found->second);
}

void HeaderContainer::add(const std::string& name, const std::string& value) {
  values_.emplace(lower_case(name), value);  // the first of a name stays
}

std::unique_ptr<MimePart> MimePart::parse(const char* data, std::size_t length) {
  auto message = std::make_unique<MimePart>();
  std::istringstream lines(std::string(data, length));
  for (std::string line; std::getline(lines, line) && !line.empty() && line != "\r";) {
    const std::size_t colon = line.find(": ");
    if (colon != std::string::npos)
      message->headers_.add(line.substr(0, colon), line.substr(colon + 2));
  }
  return message;
}

TempFile::TempFile(const std::string& prefix) {
  std::string name = (prefix.empty() ? "/tmp/own-host-" : prefix) + "XXXXXX";
  const int file = mkstemp(name.data());
  if (file < 0) return;
  close(file);
  name_ = name;
}

TempFile::~TempFile() {
  if (!name_.empty()) unlink(name_.c_str());
}

// A real host converts to modified UTF-7 here; this one knows folders with ASCII names only.
Buffer ZvellConv::fromUtf8(const char* /*charset*/, const char* data, std::size_t length,
                           std::size_t limit) {
  return buffer_of(data, std::min(length, limit));
}

Buffer stringToUtf8(const std::string& text, const ZVLStaticCharSetFallbacks* /*fallbacks*/) {
  return buffer_of(text.data(), text.size());
}
