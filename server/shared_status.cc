// Two words of shared memory.
#include "server/shared_status.h"

#include <sys/mman.h>

#include <cstdlib>
#include <new>

namespace Quarrow::Server {

SharedStatus::SharedStatus()
    : told_([] {
        void* const memory =
            mmap(nullptr, sizeof(Told), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED) std::abort();
        return new (memory) Told;
      }()) {}

SharedStatus::~SharedStatus() { (void)munmap(told_, sizeof(Told)); }

}  // namespace Quarrow::Server
