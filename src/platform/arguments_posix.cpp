#include "platform/arguments.h"

namespace moldex {

Arguments LocalArguments(int count, char** words) { return {count, words}; }

}  // namespace moldex
