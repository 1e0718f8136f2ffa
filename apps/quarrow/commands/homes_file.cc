// Opening the table, and what comes of it.
#include "apps/quarrow/commands/homes_file.h"

#include <sysexits.h>

#include "apps/quarrow/complaint.h"

namespace Quarrow::Command {
namespace {

using Homes::HomeRefusal;
using Homes::HomesTransaction;

int status_of(HomeRefusal::Kind kind) {
  using Kind = HomeRefusal::Kind;
  switch (kind) {
    case Kind::none:
      return EX_OK;
    case Kind::unknown_user:
      return EX_NOUSER;
    case Kind::missing:
      return EX_NOINPUT;
    case Kind::not_permitted:
      return EX_NOPERM;
    case Kind::try_again:
      return EX_TEMPFAIL;
    case Kind::no_room:
      return EX_IOERR;
    default:
      return EX_DATAERR;
  }
}

}  // namespace

void add_homes_option(CLI::App& app, std::string& file) {
  add_option(app, "--homes", file, "File with the table of users' homes")
      .type_name("FILE")
      .envname("QUARROW_HOMES")
      .capture_default_str();
}

int told(const HomeRefusal& refusal) {
  if (!refusal) return EX_OK;
  const char* const hint =
      refusal.kind == HomeRefusal::Kind::missing ? "; \"quarrow home node add\" makes it" : "";
  return complain(refusal.object, refusal.reason + hint, status_of(refusal.kind));
}

int change_homes(const std::string& file, HomesTransaction::Start start,
                 const std::function<HomeRefusal(HomesTransaction& transaction)>& work) {
  HomesTransaction transaction(file, start);
  if (const HomeRefusal refusal = work(transaction)) return told(refusal);
  return told(transaction.commit());
}

}  // namespace Quarrow::Command
