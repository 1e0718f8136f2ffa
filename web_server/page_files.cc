// From a folder to answers.
#include "web_server/page_files.h"

#include <fcntl.h>

#include <algorithm>
#include <boost/uuid/name_generator_sha1.hpp>
#include <boost/uuid/nil_generator.hpp>
#include <boost/uuid/uuid_io.hpp>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <string_view>
#include <utility>

#include "http/problem.h"
#include "system/descriptor.h"
#include "system/file_io.h"
#include "system/folder_names.h"
#include "system/regular_file.h"

namespace Quarrow::WebServer {
namespace {

const char first_file[] = "index.html";

const struct {
  std::string_view end;
  const char* type;
} types[] = {{".html", "text/html; charset=utf-8"},
             {".css", "text/css; charset=utf-8"},
             {".js", "text/javascript; charset=utf-8"},
             {".json", "application/json; charset=utf-8"},
             {".svg", "image/svg+xml; charset=utf-8"},
             {".png", "image/png"},
             {".woff2", "font/woff2"}};

// The type of a file of this name; null for one that is not served.
const char* type_of(std::string_view name) {
  const auto found = std::find_if(std::begin(types), std::end(types), [name](const auto& each) {
    return name.size() > each.end.size() && name.substr(name.size() - each.end.size()) == each.end;
  });
  return found == std::end(types) ? nullptr : found->type;
}

bool is_plain(std::string_view name) {
  constexpr std::string_view characters =
      "_.-0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
  return name.front() != '.' && name.find_first_not_of(characters) == std::string_view::npos;
}

// The same content has the same tag, in each server.
std::string tag_of(const std::string& content) {
  const auto uuid = boost::uuids::name_generator_sha1(boost::uuids::nil_uuid())(content);
  return '"' + to_string(uuid) + '"';
}

// Reads a file of at most `most` bytes; gives why it can't be had, or nothing.
std::string read_file(int folder, const std::string& name, std::size_t most, std::string& content) {
  const Descriptor file(open_regular_at(folder, name, O_RDONLY));
  if (file.get() < 0) return reason_for_no_file(errno);
  ssize_t count = 1;
  while (count > 0 && content.size() <= most) count = append_next(file.get(), content);
  if (count < 0) return std::strerror(errno);
  return content.size() > most ? "Is too large" : "";
}

// Whether a tag in If-None-Match (RFC 9110, section 13.1.2) is `tag`, be it marked as weak, as
// proxies do with texts that they compress.
bool names_tag(std::string_view header, std::string_view tag) {
  while (!header.empty()) {
    std::string_view item = header.substr(0, header.find(','));
    header.remove_prefix(std::min(item.size() + 1, header.size()));
    item.remove_prefix(std::min(item.find_first_not_of(" \t"), item.size()));
    item = item.substr(0, item.find_last_not_of(" \t") + 1);
    if (item.substr(0, 2) == "W/") item.remove_prefix(2);
    if (item == tag || item == "*") return true;
  }
  return false;
}

// A file of the folder, in front of whose name its own folder and a slash may stand.
struct Name {
  std::string folder;
  std::string file;

  std::string path() const { return folder.empty() ? file : folder + '/' + file; }
};

std::vector<Name> names_below(int folder) {
  std::vector<Name> names;
  for (const std::string& name : names_in(folder)) {
    const Descriptor inner(
        openat(folder, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (inner.get() < 0)
      names.push_back({"", name});
    else
      for (const std::string& file : names_in(inner.get())) names.push_back({name, file});
  }
  return names;
}

}  // namespace

std::vector<std::string> PageFiles::read(const std::string& folder) {
  const Descriptor opened(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (opened.get() < 0) return {folder + ": " + std::strerror(errno)};
  std::map<std::string, File> files;
  std::vector<std::string> complaints;
  std::size_t room = largest_page;
  for (const Name& name : names_below(opened.get())) {
    const char* const type = type_of(name.file);
    const Descriptor inner(openat(opened.get(), name.folder.empty() ? "." : name.folder.c_str(),
                                  O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    File file;
    std::string fault = "Is not a name or a type that is served";
    if (type != nullptr && is_plain(name.file) && (name.folder.empty() || is_plain(name.folder)))
      fault = read_file(inner.get(), name.file, std::min(room, largest_page_file), file.content);
    if (!fault.empty()) {
      complaints.push_back(folder + '/' + name.path() + ": " + fault);
      continue;
    }
    room -= file.content.size();
    file.type = type;
    file.tag = tag_of(file.content);
    files.emplace(name.path(), std::move(file));
  }
  if (files.count(first_file) == 0) return {folder + ": has no " + first_file};
  files_ = std::move(files);
  return complaints;
}

Http::Response PageFiles::answer(const std::vector<std::string>& segments,
                                 const Http::Request& request) const {
  // No segment holds a slash, and no file is deeper than two of them.
  std::string path = segments.empty() ? first_file : segments.front();
  if (segments.size() > 1) path += '/' + segments[1];
  const auto found = segments.size() > 2 ? files_.end() : files_.find(path);
  if (found == files_.end()) return Http::problem(404, "Nothing is here.");
  if (request.method != "GET") {
    Http::Response response = Http::problem(405, "This can be asked with GET, HEAD only.");
    response.headers.emplace_back("allow", "GET, HEAD");
    return response;
  }
  const File& file = found->second;
  Http::Response response = {304, {{"etag", file.tag}, {"cache-control", "no-cache"}}, ""};
  const std::string* const known = Http::header_of(request.headers, "if-none-match");
  if (known != nullptr && names_tag(*known, file.tag)) return response;
  response.status = 200;
  response.headers.emplace_back("content-type", file.type);
  response.body = file.content;
  return response;
}

}  // namespace Quarrow::WebServer
