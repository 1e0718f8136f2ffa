// The files of the page that browsers show.
#ifndef QUARROW_WEB_SERVER_PAGE_FILES_H_
#define QUARROW_WEB_SERVER_PAGE_FILES_H_

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "http/message.h"

namespace Quarrow::WebServer {

constexpr std::size_t largest_page_file = std::size_t{1} << 20U;
constexpr std::size_t largest_page = std::size_t{8} << 20U;  // all files together

// Files in memory, so that the workers which serve them need no file.
class PageFiles {
 public:
  // Reads the files of `folder`, and of the folders in it, in place of those that were there. Names
  // are of [A-Za-z0-9_.-] and begin with no dot; their ends tell the types. Links, other names and
  // types, and what is too large are left out: gives a complaint about each of those. A folder
  // without an index.html can't be a page: then all stays as it was, and the only complaint says
  // so.
  std::vector<std::string> read(const std::string& folder);

  bool is_empty() const { return files_.empty(); }

  // Answers a request for the path of these segments (see Http::Target), whose method is GET where
  // it is to be HEAD, too. "/" is index.html. What a browser has already is not sent once more.
  Http::Response answer(const std::vector<std::string>& segments,
                        const Http::Request& request) const;

 private:
  struct File {
    std::string type;
    std::string tag;  // with its quotes
    std::string content;
  };

  std::map<std::string, File> files_;  // by "NAME" and "FOLDER/NAME"
};

}  // namespace Quarrow::WebServer

#endif  // QUARROW_WEB_SERVER_PAGE_FILES_H_
