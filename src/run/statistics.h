// The figures that -n reports after a run: the time that it took, and the number of files
// processed.
#ifndef MOLDEX_RUN_STATISTICS_H_
#define MOLDEX_RUN_STATISTICS_H_

#include <cstdint>

#include "report/user_info.h"

namespace moldex {

class CStatistics : public CUserInfo {
 public:
  void CountFile() { ++files_processed_; }
  void SetElapsed(std::int32_t seconds) { elapsed_seconds_ = seconds; }
  void Print() override;

 private:
  std::uint32_t files_processed_ = 0;
  std::int32_t elapsed_seconds_ = 0;
};

}  // namespace moldex

#endif  // MOLDEX_RUN_STATISTICS_H_
