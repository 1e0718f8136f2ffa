// Refusals that system calls bring about.
#include "administration/refusal.h"

#include <cerrno>
#include <cstring>

namespace Quarrow::Administration {

using Kind = Refusal::Kind;

Kind kind_of_error(int error) {
  static const struct {
    int error;
    Kind kind;
  } kinds[] = {
      {EACCES, Kind::not_permitted}, {EPERM, Kind::not_permitted}, {EROFS, Kind::not_permitted},
      {ENOENT, Kind::missing},       {ENOTDIR, Kind::missing},     {EAGAIN, Kind::try_again},
      {EINTR, Kind::try_again},      {EMFILE, Kind::try_again},    {ENFILE, Kind::try_again},
      {ENOMEM, Kind::try_again},     {ENOSPC, Kind::no_room},      {EDQUOT, Kind::no_room},
      {EFBIG, Kind::no_room}};
  for (const auto& row : kinds)
    if (row.error == error) return row.kind;
  return Kind::not_written;
}

Refusal system_refusal(const std::string& object, const std::string& what, int error) {
  if (error == 0) return {Kind::not_written, object, what};
  return {kind_of_error(error), object, (what.empty() ? "" : what + ": ") + std::strerror(error)};
}

Refusal making_refusal(const std::string& path, int error) {
  Refusal refusal = system_refusal(path, "can't be made", error);
  if (refusal.kind != Kind::not_permitted) refusal.kind = Kind::not_made;
  return refusal;
}

}  // namespace Quarrow::Administration
