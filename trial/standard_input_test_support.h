// Standard input for one unit test.
#ifndef QUARROW_TRIAL_STANDARD_INPUT_TEST_SUPPORT_H_
#define QUARROW_TRIAL_STANDARD_INPUT_TEST_SUPPORT_H_

#include <fcntl.h>
#include <unistd.h>

#include <stdexcept>
#include <string>

#include "system/descriptor.h"
#include "system/file_io.h"

namespace Quarrow::Trial {

// Puts a pipe that holds a text, and then ends, in the place of standard input, as long as this
// object lives.
class PipedStandardInput {
 public:
  // The pipe has room for a `text` of up to 65536 bytes.
  explicit PipedStandardInput(const std::string& text)
      : before_(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)) {
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    const Descriptor reader(ends[0]);
    const Descriptor writer(ends[1]);
    if (!write_all(writer.get(), text) || dup2(reader.get(), STDIN_FILENO) < 0)
      throw std::runtime_error("no standard input");
  }
  ~PipedStandardInput() { (void)dup2(before_.get(), STDIN_FILENO); }
  PipedStandardInput(const PipedStandardInput&) = delete;
  PipedStandardInput& operator=(const PipedStandardInput&) = delete;

 private:
  const Descriptor before_;
};

}  // namespace Quarrow::Trial

#endif  // QUARROW_TRIAL_STANDARD_INPUT_TEST_SUPPORT_H_
