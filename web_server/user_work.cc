// Rights first, then work.
#include "web_server/user_work.h"

#include <sys/prctl.h>
#include <unistd.h>

#include "administration/user_folder.h"
#include "administration/users.h"
#include "http/problem.h"
#include "server/log.h"
#include "web_server/replies.h"

namespace Quarrow::WebServer {
namespace {

// Somebody has to look at it.
constexpr std::chrono::minutes time_to_mend{10};

Http::Response refused(const std::string& folder, const std::string& reason) {
  Server::log_error(folder + ": " + reason);
  return passing_problem(503, "Your folder can't be used at the moment. Ask the administrator.",
                         time_to_mend, "unusable-folder");
}

}  // namespace

Http::Response answer_as_owner(const std::string& user, const Http::Request& request,
                               const UserWork& work) {
  const EmailAddress address(user);
  if (address.isNull()) return Http::problem(404, "You have no rules here.");
  Administration::UserFolder folder(Administration::user_folder(address));
  if (const auto refusal = folder.open()) return refused(refusal.object, refusal.reason);
  if (!folder.is_open()) return Http::problem(404, "You have no rules here.");
  if (geteuid() == 0) return refused(folder.path(), "the superuser owns a user's folder");
  if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0)
    return refused(folder.path(), "the process can't be kept from new rights");
  return work(address, request);
}

}  // namespace Quarrow::WebServer
