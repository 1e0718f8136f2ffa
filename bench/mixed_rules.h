// Rules like those that users write.
#ifndef QUARROW_BENCH_MIXED_RULES_H_
#define QUARROW_BENCH_MIXED_RULES_H_

#include <quarrow/filter_list.h>

// `count` filters of `tests` tests each: of ten, four look for a word in the subject, two for one
// in the addresses, two at how the subject begins, one at the size, and one compares a header. The
// last filter files what is sent to a list.
boost::shared_ptr<Quarrow::MessageFilters::FilterList__> mixed_rules(int count, int tests);

#endif  // QUARROW_BENCH_MIXED_RULES_H_
