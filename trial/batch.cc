// Small files go together, a large file is cut.
#include "trial/batch.h"

namespace Quarrow::Trial {
namespace {

// The last part has no end, for a file that grows meanwhile.
void add_parts(std::size_t source, std::uint64_t size, std::vector<Batch>& batches) {
  for (std::uint64_t begin = 0; begin < size; begin += batch_size) {
    const bool is_last = size - begin <= batch_size;
    batches.push_back({source, 1, begin, is_last ? UINT64_MAX : begin + batch_size});
  }
}

}  // namespace

std::vector<Batch> batches_of(const std::vector<MailSource>& sources) {
  std::vector<Batch> batches;
  std::uint64_t room = 0;  // in the last batch
  for (std::size_t i = 0; i < sources.size(); ++i) {
    const std::uint64_t size = sources[i].size;
    if (size > 0 && size <= room && batches.back().count < batch_sources) {
      ++batches.back().count;
      room -= size;
      continue;
    }
    room = 0;
    if (size > batch_size) {
      add_parts(i, size, batches);
      continue;
    }
    batches.push_back({i});
    batches.back().is_stream = size == 0;
    if (size > 0) room = batch_size - size;
  }
  return batches;
}

}  // namespace Quarrow::Trial
