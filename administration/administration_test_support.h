// Refusals compared in one line, and processes that are refused what the test's own is not.
#ifndef QUARROW_ADMINISTRATION_ADMINISTRATION_TEST_SUPPORT_H_
#define QUARROW_ADMINISTRATION_ADMINISTRATION_TEST_SUPPORT_H_

#include <grp.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>
#include <zvellparser.h>
#include <zvelluser.h>

#include <csignal>
#include <filesystem>
#include <functional>
#include <string>

#include "administration/guarded_process.h"
#include "administration/refusal.h"
#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow::Administration {

using Kind = Refusal::Kind;

inline const EmailAddress alice("alice@example.org");

inline void expect_refusal(Kind kind, const std::string& object, const std::string& reason,
                           const Refusal& refusal) {
  EXPECT_EQ(kind, refusal.kind);
  EXPECT_EQ(object, refusal.object);
  EXPECT_EQ(reason, refusal.reason);
}

// "object: reason", and nothing when nothing is refused.
inline std::string said(const Refusal& refusal) {
  return refusal ? refusal.object + ": " + refusal.reason : "";
}

// The refusal of `work` in a child process, whose rights and limits are its own.
inline Refusal in_child(const std::function<Refusal()>& work) {
  return run_guarded(
             "child",
             [&work]() -> GuardedOutcome {
               return {work(), ""};
             })
      .refusal;
}

// The same in a process of a user that is not root.
inline Refusal as_nobody(const std::function<Refusal()>& work) {
  return in_child([&work]() -> Refusal {
    constexpr uid_t nobody = 65534;
    if (geteuid() == 0 &&
        (setgroups(0, nullptr) != 0 || setgid(nobody) != 0 || setuid(nobody) != 0))
      return {Kind::crashed, "test", "can't give up the rights of root"};
    return work();
  });
}

// The same where that user may not write in `folder`, be it their own.
inline Refusal without_writing_in(const std::string& folder, const std::function<Refusal()>& work) {
  std::filesystem::permissions(folder, std::filesystem::perms(0555));
  const Refusal refusal = as_nobody(work);
  std::filesystem::permissions(folder, std::filesystem::perms(0755));
  return refusal;
}

// From here on this process writes no file beyond `bytes`: EFBIG, as a full disk is ENOSPC.
inline void limit_file_size(rlim_t bytes) {
  (void)std::signal(SIGXFSZ, SIG_IGN);
  const rlimit limit = {bytes, bytes};
  (void)setrlimit(RLIMIT_FSIZE, &limit);
}

// The folder that the users' folders are below, which every user may look into.
class TemporaryRoot : public TemporaryFolder {
 public:
  TemporaryRoot() {
    std::filesystem::permissions(path(), std::filesystem::perms(0755));
    mailuser_set_root(path());
  }
};

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_ADMINISTRATION_TEST_SUPPORT_H_
