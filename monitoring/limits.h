// What a client of the monitor may take.
#ifndef QUARROW_MONITORING_LIMITS_H_
#define QUARROW_MONITORING_LIMITS_H_

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace Quarrow::Monitoring {

// From its connection to the end of its answer.
constexpr std::chrono::seconds longest_visit{5};

// At a time: with one more, the one that came first goes. Together with the monitor's own
// descriptors they are fewer than a confined process may have.
constexpr std::size_t most_clients = 8;

// Bytes of what is told of a fault.
constexpr std::size_t longest_fault = 500;

// Bytes of memory for the monitor, beyond what it was forked with.
constexpr std::uint64_t memory = std::uint64_t{64} << 20U;

}  // namespace Quarrow::Monitoring

#endif  // QUARROW_MONITORING_LIMITS_H_
