// Files for unit tests: a folder that goes away again, and whole files at a time.
#ifndef MESSAGE_FILTERS_TEST_FOLDER_H_
#define MESSAGE_FILTERS_TEST_FOLDER_H_

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace Quarrow {
namespace MessageFilters {

// A new folder in the system's place for temporary files.
class TestFolder {
 public:
  TestFolder() {
    const std::string pattern =
        (std::filesystem::temp_directory_path() / "quarrow-XXXXXX").string();
    std::vector<char> name(pattern.c_str(), pattern.c_str() + pattern.size() + 1);
    if (mkdtemp(name.data())) path_ = name.data();
  }
  ~TestFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TestFolder(const TestFolder&) = delete;
  TestFolder& operator=(const TestFolder&) = delete;

  const std::string& path() const { return path_; }
  std::string file(const std::string& name) const { return path_ + '/' + name; }

 private:
  std::string path_;
};

inline void write_file(const std::string& path, const std::string& content) {
  std::ofstream(path, std::ios::binary) << content;
}

// What is in the file, or "(no file)".
inline std::string content_of(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return "(no file)";
  std::ostringstream content;
  content << file.rdbuf();
  return content.str();
}

}  // namespace MessageFilters
}  // namespace Quarrow

#endif  // MESSAGE_FILTERS_TEST_FOLDER_H_
