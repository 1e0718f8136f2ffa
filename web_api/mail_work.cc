// A folder of the user's Maildir, opened by its owner.
#include "web_api/mail_work.h"

#include <cerrno>
#include <charconv>
#include <cstring>

#include "administration/guarded_process.h"
#include "administration/user_folder.h"
#include "administration/users.h"
#include "http/problem.h"
#include "message_filters/user_files.h"
#include "refiling/mail_folders.h"
#include "web_api/guarded_answer.h"

namespace Quarrow::WebApi {
namespace {

using Administration::GuardedOutcome;
using Administration::Refusal;

Http::Response no_folder(const std::string& folder) {
  return Http::problem(404, "there is no folder " + folder,
                       {{"", "folder", "there is no such folder"}});
}

GuardedOutcome work_in(const Administration::UserFolder& user, const std::string& folder,
                       const std::function<Http::Response(MailListing&)>& work) {
  const auto name = Refiling::MailFolders(maildir_name, user.fd()).find(folder);
  if (!name) return guarded(no_folder(folder));
  MailListing listing;
  const int error = listing.open(user.fd(), *name);
  if (error == ENOENT && !name->empty()) return guarded(no_folder(folder));
  if (error != 0 && error != ENOENT)
    return {{Refusal::Kind::not_permitted, "",
             "the folder can't be read: " + std::string(std::strerror(error))},
            ""};
  return guarded(work(listing));
}

}  // namespace

Http::Response with_mail(const Call& call, const std::string& folder,
                         const std::function<Http::Response(MailListing&)>& work) {
  const std::string path = Administration::user_folder(call.context.user);
  return answer_of(Administration::run_guarded(path, [&]() -> GuardedOutcome {
    Administration::UserFolder user(path);
    if (const Refusal refusal = user.open()) return {refusal, ""};
    return work_in(user, folder, work);
  }));
}

Http::Response no_message() {
  return Http::problem(404, "there is no such message; it may have moved to another folder");
}

std::string parameter_of(const Call& call, const std::string& name, const std::string& other) {
  const auto found = call.query.find(name);
  return found == call.query.end() ? other : found->second;
}

std::optional<std::uint32_t> number_of(const Call& call, const std::string& name,
                                       std::uint32_t other, std::uint32_t most) {
  const auto found = call.query.find(name);
  if (found == call.query.end()) return other;
  const std::string& text = found->second;
  std::uint32_t number = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
  if (read.ec != std::errc() || read.ptr != text.data() + text.size()) return std::nullopt;
  if (number == 0 || number > most) return std::nullopt;
  return number;
}

Http::Response wrong_parameter(const std::string& name, const std::string& detail) {
  return Http::problem(400, name + ": " + detail, {{"", name, detail}});
}

}  // namespace Quarrow::WebApi
