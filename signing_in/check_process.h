// The check of a password in a process of its own.
#ifndef QUARROW_SIGNING_IN_CHECK_PROCESS_H_
#define QUARROW_SIGNING_IN_CHECK_PROCESS_H_

#include <sys/types.h>

#include <chrono>
#include <string>

#include "signing_in/password_check.h"
#include "system/descriptor.h"

namespace Quarrow::SigningIn {

// A child process that runs a check once. It has no descriptor of this process but standard input,
// output and error, leaves no core file, and ends with this process and with its deadline, even
// when the check hangs.
class CheckProcess {
 public:
  // Starts the process. `password` is wiped here; the process has the only copy left, which ends
  // with it.
  CheckProcess(const PasswordCheck& check, const std::string& user, std::string& password,
               std::chrono::milliseconds deadline);

  // Ends the process, if it is still there.
  ~CheckProcess();
  CheckProcess(const CheckProcess&) = delete;
  CheckProcess& operator=(const CheckProcess&) = delete;

  // Readable, as poll(2) has it, once verdict() does not have to wait. Negative when no process
  // could be started; verdict() does not wait then, either.
  int descriptor() const { return answer_.get(); }

  // Waits for the verdict, and for the process to end. Once only.
  PasswordVerdict verdict();

 private:
  pid_t process_ = -1;
  Descriptor answer_;
};

}  // namespace Quarrow::SigningIn

#endif  // QUARROW_SIGNING_IN_CHECK_PROCESS_H_
