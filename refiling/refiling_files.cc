// Files in a user's folder. The lock belongs to an open file (F_OFD_SETLK, see fcntl(2)), so that
// others can ask for it without taking it.
#include "refiling/refiling_files.h"

#include <fcntl.h>

#include <cerrno>
#include <string>

#include "system/regular_file.h"

namespace Quarrow::Refiling {
namespace {

using Administration::Refusal;
using Administration::system_refusal;

constexpr mode_t state_mode = 0600;

// More than a state has with the longest names of 100 filters.
constexpr std::size_t most_bytes = std::size_t{4} << 20U;

struct flock whole_file() {
  struct flock lock {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  return lock;
}

std::string state_draft_name() { return std::string(state_name) + ".new"; }

}  // namespace

Refusal RefilingFiles::lock() {
  const std::string path = folder_.file(work_lock_name);
  lock_ = std::make_unique<Descriptor>(
      open_regular_at(folder_.fd(), work_lock_name, O_RDWR | O_CREAT, state_mode));
  if (lock_->get() < 0)
    return {Administration::kind_of_error(errno), path, reason_for_no_file(errno)};
  struct flock lock = whole_file();
  if (fcntl(lock_->get(), F_OFD_SETLK, &lock) == 0) return {};
  if (errno != EAGAIN && errno != EACCES) return system_refusal(path, "can't be locked", errno);
  return {Refusal::Kind::try_again, path, "rules are being applied to the mail already"};
}

bool RefilingFiles::is_locked() const {
  const Descriptor file(open_regular_at(folder_.fd(), work_lock_name, O_RDWR));
  struct flock lock = whole_file();
  return file.get() >= 0 && fcntl(file.get(), F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

// A process writes its last state before it lets go of the lock: a state of work that goes on, and
// is still the last one when nobody has the lock, is that of a process that is gone.
RefilingState RefilingFiles::read() const {
  for (;;) {
    RefilingState state = written();
    if (!is_going_on(state.stage) || is_locked()) return state;
    if (text_of(written()) != text_of(state)) continue;
    state.stage = Stage::interrupted;
    return state;
  }
}

RefilingState RefilingFiles::written() const {
  std::string text;
  if (folder_.read(state_name, most_bytes, text) != 0) return {};
  return state_in(text).value_or(RefilingState());
}

Refusal RefilingFiles::write(const RefilingState& state) const {
  int error = folder_.write_new(state_draft_name(), text_of(state));
  if (error == 0) error = folder_.rename(state_draft_name(), state_name);
  if (error == 0) return {};
  folder_.remove(state_draft_name());
  return system_refusal(folder_.file(state_name), "can't be written", error);
}

Refusal RefilingFiles::ask_to_stop() const {
  const int error = folder_.write_new(stop_name, "");
  return error == 0 ? Refusal()
                    : system_refusal(folder_.file(stop_name), "can't be written", error);
}

}  // namespace Quarrow::Refiling
