// The text that the program prints when it is called without arguments. Its lines on options come
// from the option table (run/option_table.h).
#ifndef MOLDEX_DRIVER_USAGE_H_
#define MOLDEX_DRIVER_USAGE_H_

#include <string>

#include "report/user_info.h"

namespace moldex {

// The usage text: the synopses, a line for every option, examples and notes.
std::string iaxxusage();

class CUsage : public CUserInfo {
 public:
  // Prints the usage text, then the version.
  void Print() override;
};

}  // namespace moldex

#endif  // MOLDEX_DRIVER_USAGE_H_
