// A folder for one unit test.
#ifndef QUARROW_TESTS_SUPPORT_TEMPORARY_FOLDER_TEST_SUPPORT_H_
#define QUARROW_TESTS_SUPPORT_TEMPORARY_FOLDER_TEST_SUPPORT_H_

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <system_error>

// Ends the test with a text such as "write /tmp/x: No space left on device", whose reason is errno.
[[noreturn]] inline void throw_error_of(const std::string& call, const std::string& path) {
  throw std::system_error(errno, std::generic_category(), call + " " + path);
}

// Makes `content` the whole content. Throws std::system_error on failure.
inline void write_file(const std::string& path, const std::string& content) {
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "wbe"),
                                                       std::fclose);
  if (!file) throw_error_of("open", path);
  (void)std::setvbuf(file.get(), nullptr, _IONBF, 0);  // a failure shows here, not at the end
  if (std::fwrite(content.data(), 1, content.size(), file.get()) != content.size())
    throw_error_of("write", path);
  if (std::fclose(file.release()) != 0) throw_error_of("close", path);
}

// New and empty, and removed with all that is in it when this object goes. Throws std::system_error
// when it cannot be made.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "quarrow-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw_error_of("mkdtemp", name);
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

// All bytes of a file, or "(no file)". Throws std::system_error when it is there and not readable.
inline std::string content_of(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (file) return {std::istreambuf_iterator<char>(file), {}};
  if (errno != ENOENT && errno != ENOTDIR) throw_error_of("open", path);
  return "(no file)";
}

#endif  // QUARROW_TESTS_SUPPORT_TEMPORARY_FOLDER_TEST_SUPPORT_H_
