// The rights with which users' requests are answered.
#include "web_server/user_work.h"

#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <unistd.h>
#include <zvelluser.h>

#include <filesystem>

#include "system/child_process_test_support.h"
#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow::WebServer {
namespace {

constexpr uid_t owner = 65534;
constexpr gid_t group = 65534;
constexpr int lowest = 300;  // of the statuses here: an exit status has 8 bits
const char alice[] = "alice@example.org";

class WebUserWork : public testing::Test {
 protected:
  WebUserWork() {
    mailuser_set_root(folder_.path());
    std::filesystem::create_directories(home_);
    std::filesystem::permissions(folder_.path(), std::filesystem::perms(0755));
  }

  void give_folder_away() const {
    if (geteuid() != 0) return;
    EXPECT_EQ(0, chown(home_.c_str(), owner, group));
  }

  // The status of the answer; `work` runs in a process of its own, as it does in a child.
  static int status(const std::string& user, const std::function<int()>& work) {
    return end_of_child([&] {
             const auto answering = [&](const EmailAddress& address, const Http::Request& request) {
               const bool is_right = address.address() == user && request.target == "/x";
               return Http::Response{is_right ? work() : 0, {}, ""};
             };
             return answer_as_owner(user, {"GET", "/x", {}, ""}, answering).status - lowest;
           }).status +
           lowest;
  }

  const TemporaryFolder folder_;
  const std::string home_ = folder_.file("example.org/alice");
};

TEST_F(WebUserWork, IsDoneByTheFoldersOwner) {
  give_folder_away();
  const uid_t wanted = geteuid() == 0 ? owner : geteuid();
  EXPECT_EQ(301, status(
                     alice,
                     [wanted] {
                       uid_t ids[3] = {};
                       (void)getresuid(&ids[0], &ids[1], &ids[2]);
                       return ids[0] == wanted && ids[1] == wanted && ids[2] == wanted ? 301 : 302;
                     }));
  EXPECT_EQ(301, status(alice, [wanted] { return wanted != 0 && setuid(0) == 0 ? 302 : 301; }));
}

TEST_F(WebUserWork, GainsNoRights) {
  give_folder_away();
  EXPECT_EQ(301,
            status(alice, [] { return prctl(PR_GET_NO_NEW_PRIVS, 0, 0, 0, 0) == 1 ? 301 : 302; }));
}

TEST_F(WebUserWork, IsNotDoneAsTheSuperuser) {
  if (geteuid() != 0) GTEST_SKIP() << "only the superuser's folders are refused";
  EXPECT_EQ(503, status(alice, [] { return 301; }));
}

TEST_F(WebUserWork, NeedsAFolder) {
  for (const char* const user : {"bob@example.org", "", "alice", "../alice@example.org"})
    EXPECT_EQ(404, status(
                       user, [] { return 301; }))
        << user;
}

}  // namespace
}  // namespace Quarrow::WebServer
