#include "parallel/signals.h"

namespace moldex::internal {

void MakeWithoutSignals(const std::function<void()>& make) { make(); }

}  // namespace moldex::internal
