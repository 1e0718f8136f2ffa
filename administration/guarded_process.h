// Work on a filter document in a process of its own, since a damaged one ends the process that
// loads it.
#ifndef QUARROW_ADMINISTRATION_GUARDED_PROCESS_H_
#define QUARROW_ADMINISTRATION_GUARDED_PROCESS_H_

#include <functional>
#include <string>

namespace Quarrow::Administration {

// Runs `work`, which loads the filter document at `document`, in a child process without core
// dumps, and gives the exit status that `work` returned. When the child was ended by a failed
// assertion: complains that the document is damaged, and gives EX_DATAERR; by another signal:
// EX_SOFTWARE. Standard output must be flushed.
int run_guarded(const std::string& document, const std::function<int()>& work);

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_GUARDED_PROCESS_H_
