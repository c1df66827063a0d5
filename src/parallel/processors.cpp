#include "parallel/processors.h"

#include <algorithm>

namespace moldex {

unsigned WorkerCount() { return std::clamp(internal::UsableProcessors(), 1U, kMostWorkers); }

}  // namespace moldex
