// Lines of the log.
#include "server/log.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <regex>

#include "system/child_process_test_support.h"
#include "system/memory_file.h"

namespace Quarrow::Server {
namespace {

// All that a process writes to standard error when it logs `line` as "a%db" at each level.
std::string logged(const std::string& line) {
  const MemoryFile file;
  (void)end_of_child([&] {
    dup2(file.fd(), STDERR_FILENO);
    set_log({"a%db"}, LogTarget::standard_error);
    log_info(line);
    log_warning(line);
    log_error(line);
    return 0;
  });
  return file.read();
}

TEST(Log, WritesTimeProgramProcessAndLevel) {
  const std::string prefix = R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}[+-]\d\d:\d\d a%db\[\d+\] )";
  const std::regex lines(prefix + "info: text\n" + prefix + "warning: text\n" + prefix +
                         "error: text\n");
  EXPECT_TRUE(std::regex_match(logged("text"), lines)) << logged("text");
}

TEST(Log, KeepsALineALine) {
  EXPECT_NE(std::string::npos, logged("a\nb \x1b[31m").find("info: a\\x0ab \\x1b[31m\n"));
}

}  // namespace
}  // namespace Quarrow::Server
