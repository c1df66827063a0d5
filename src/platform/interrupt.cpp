#include "platform/interrupt.h"

#include "report/except.h"

namespace moldex::interrupt {

namespace {

bool muted = false;

}  // namespace

void Mute() { muted = true; }

void Throw() {
  if (muted) return;
  Mute();
  throw CInterruptExcept(status);
}

}  // namespace moldex::interrupt
