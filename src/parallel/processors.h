// The processors that this process may use.
#ifndef MOLDEX_PARALLEL_PROCESSORS_H_
#define MOLDEX_PARALLEL_PROCESSORS_H_

namespace moldex {

// The most threads that work at the same time. More would need more memory than they are worth.
inline constexpr unsigned kMostWorkers = 16;

// How many threads may work at the same time: as many as the system lets this process have
// processors, at least 1 and at most kMostWorkers.
unsigned WorkerCount();

namespace internal {

// The processors that the process may run on; 0 when the system does not tell.
unsigned UsableProcessors();

}  // namespace internal
}  // namespace moldex

#endif  // MOLDEX_PARALLEL_PROCESSORS_H_
