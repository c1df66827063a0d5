#include "platform/interrupt.h"

#include "report/except.h"

namespace moldex::interrupt {

void Throw() {
  static bool thrown = false;
  if (thrown) return;
  thrown = true;
  throw CInterruptExcept(status);
}

}  // namespace moldex::interrupt
