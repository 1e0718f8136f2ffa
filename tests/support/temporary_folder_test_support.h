// A folder for one unit test.
#ifndef QUARROW_TESTS_SUPPORT_TEMPORARY_FOLDER_TEST_SUPPORT_H_
#define QUARROW_TESTS_SUPPORT_TEMPORARY_FOLDER_TEST_SUPPORT_H_

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

inline void write_file(const std::string& path, const std::string& content) {
  std::ofstream(path, std::ios::binary) << content;
}

// New and empty, and removed with all that is in it when this object goes.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "quarrow-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder: " + name);
    path_ = name;
  }
  ~TemporaryFolder() {
    std::error_code ignored;  // what is left behind harms no test
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::string& path() const { return path_; }

  // The path of `name` in the folder; nothing is made.
  std::string file(const std::string& name) const { return path_ + "/" + name; }

  // Writes a file and returns its path.
  std::string write(const std::string& name, const std::string& content) const {
    write_file(file(name), content);
    return file(name);
  }

 private:
  std::string path_;
};

// All bytes of a file, or "(no file)".
inline std::string content_of(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return "(no file)";
  return {std::istreambuf_iterator<char>(file), {}};
}

#endif  // QUARROW_TESTS_SUPPORT_TEMPORARY_FOLDER_TEST_SUPPORT_H_
