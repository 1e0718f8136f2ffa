// The parts that a run is cut into, for several jobs to share.
#ifndef QUARROW_TRIAL_BATCH_H_
#define QUARROW_TRIAL_BATCH_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "trial/mail_sources.h"

namespace Quarrow::Trial {

// Sources that follow each other; or of one source the messages that begin at the bytes from
// `begin` on and before `end`.
struct Batch {
  std::size_t source;  // the index of the first one
  std::size_t count = 1;
  std::uint64_t begin = 0;
  std::uint64_t end = UINT64_MAX;
  // It may be a stream: read once, and in its turn.
  bool is_stream = false;

  bool is_part() const { return begin > 0 || end < UINT64_MAX; }
};

// The messages of a batch are about as many bytes, unless one message alone is longer: some
// milliseconds of work.
constexpr std::uint64_t batch_size = 512 * 1024;

// A batch has no more sources than this.
constexpr std::size_t batch_sources = 64;

// Cuts all of `sources` into batches, in their order.
std::vector<Batch> batches_of(const std::vector<MailSource>& sources);

}  // namespace Quarrow::Trial

#endif  // QUARROW_TRIAL_BATCH_H_
