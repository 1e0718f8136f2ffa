// A SieveLog that remembers what it was told.
#ifndef QUARROW_TESTS_SUPPORT_RECORDING_LOG_TEST_SUPPORT_H_
#define QUARROW_TESTS_SUPPORT_RECORDING_LOG_TEST_SUPPORT_H_

#include <quarrow/evaluation.h>

#include <cstdarg>
#include <cstdio>
#include <string>
#include <vector>

// The entries that a RecordingLog leaves behind, for the test to look at after the matcher deleted
// the log.
struct LogRecord {
  std::vector<std::string> lines;  // "Error: text", "Debug: text", "SetComponent: name"
  bool deleted = false;

  std::size_t count(const std::string& line) const {
    std::size_t found = 0;
    for (const std::string& each : lines) found += each == line ? 1 : 0;
    return found;
  }
};

class RecordingLog : public Quarrow::SieveLog {
 public:
  explicit RecordingLog(LogRecord& record) : record_(record) {}
  ~RecordingLog() override { record_.deleted = true; }

  void Error(const char* format, ...) override {
    std::va_list arguments;
    va_start(arguments, format);
    add("Error: ", format, arguments);
    va_end(arguments);
  }
  void Warning(const char* format, ...) override {
    std::va_list arguments;
    va_start(arguments, format);
    add("Warning: ", format, arguments);
    va_end(arguments);
  }
  void SetComponent(const char* name) override {
    record_.lines.push_back(std::string("SetComponent: ") + name);
  }
  void Debug(const char* format, ...) override {
    std::va_list arguments;
    va_start(arguments, format);
    add("Debug: ", format, arguments);
    va_end(arguments);
  }

 private:
  void add(const char* level, const char* format, std::va_list arguments) {
    char text[2048];
    (void)std::vsnprintf(text, sizeof text, format, arguments);
    record_.lines.push_back(level + std::string(text));
  }

  LogRecord& record_;
};

#endif  // QUARROW_TESTS_SUPPORT_RECORDING_LOG_TEST_SUPPORT_H_
