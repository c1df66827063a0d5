// The text that the program prints when it is called without arguments.
#ifndef MOLDEX_DRIVER_USAGE_H_
#define MOLDEX_DRIVER_USAGE_H_

#include "report/user_info.h"

namespace moldex {

class CUsage : public CUserInfo {
 public:
  // The usage text and the version behind it.
  void Print() override;
};

}  // namespace moldex

#endif  // MOLDEX_DRIVER_USAGE_H_
