// The files by which work on a user's mail is known to others, and stopped by them.
#ifndef QUARROW_REFILING_REFILING_FILES_H_
#define QUARROW_REFILING_REFILING_FILES_H_

#include <memory>

#include "administration/refusal.h"
#include "administration/user_folder.h"
#include "refiling/refiling_state.h"
#include "system/descriptor.h"

namespace Quarrow::Refiling {

constexpr char state_name[] = ".refiling_state";
constexpr char work_lock_name[] = ".refiling_lock";
constexpr char stop_name[] = ".refiling_stop";

class RefilingFiles {
 public:
  // `folder` is open, and outlives this object.
  explicit RefilingFiles(const Administration::UserFolder& folder) : folder_(folder) {}

  // Makes this process the one that works, until this object is gone or the process ends. Refuses
  // with Kind::try_again while another one works.
  Administration::Refusal lock();

  // The last state that was written; one without work where there is none that can be read. Work
  // that goes on by that state, but whose process is gone, was interrupted.
  RefilingState read() const;

  // Makes `state` the last one. A process that is killed meanwhile leaves the one before.
  Administration::Refusal write(const RefilingState& state) const;

  // Asks the process that works to stop. It looks for that, and forgets it, by itself.
  Administration::Refusal ask_to_stop() const;
  bool is_asked_to_stop() const { return folder_.holds(stop_name); }
  void forget_stop() const { folder_.remove(stop_name); }

 private:
  RefilingState written() const;
  bool is_locked() const;

  const Administration::UserFolder& folder_;
  std::unique_ptr<Descriptor> lock_;
};

}  // namespace Quarrow::Refiling

#endif  // QUARROW_REFILING_REFILING_FILES_H_
