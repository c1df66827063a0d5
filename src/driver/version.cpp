#include "driver/version.h"

namespace moldex {

const char* ReleaseString() { return MOLDEX_RELEASE; }

std::string VersionText() {
  return std::string("\nThis is moldex, release ") + ReleaseString() + "\ncompiled on " + __DATE__ +
         ", " + __TIME__ + "\n";
}

}  // namespace moldex
