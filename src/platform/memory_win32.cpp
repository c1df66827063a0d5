#include "platform/memory.h"

namespace moldex {

bool StackSuffices() { return true; }

}  // namespace moldex
