// Running users' scripts over messages, in a helper process.
#ifndef QUARROW_DELIVERY_SCRIPT_RUNNER_H_
#define QUARROW_DELIVERY_SCRIPT_RUNNER_H_

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <string>

#include "delivery/execution_form.h"
#include "quarrow/delivery/evaluation_outcome.h"
#include "system/memory_file.h"

namespace Quarrow::Delivery {

// The scripts that were run last stay compiled. A script is known by its text, so that a changed
// script is another script.
class ScriptRunner {
 public:
  // Hands scripts to the interpreter through `file`. Keeps at most `cached_scripts` scripts
  // compiled; 0 counts as 1.
  ScriptRunner(const MemoryFile& file, std::size_t cached_scripts);

  // Runs `script`, in its execution form, over the message whose header block is `header`, whose
  // size is `size` bytes and which was received at `received`, in seconds since the epoch.
  Evaluation run(const std::string& script, const std::string& header, std::uint64_t size,
                 std::int64_t received);

 private:
  struct Compiled {
    std::string script;  // as the user has it
    ExecutionForm form;
    std::unique_ptr<SieveMatch> matcher;  // null when the script is not valid
  };

  Compiled& compiled(const std::string& script);
  Compiled compile(const std::string& script) const;

  const MemoryFile& file_;
  const std::size_t cached_scripts_;
  std::list<Compiled> latest_first_;
};

}  // namespace Quarrow::Delivery

#endif  // QUARROW_DELIVERY_SCRIPT_RUNNER_H_
