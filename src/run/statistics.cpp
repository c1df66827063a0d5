#include "run/statistics.h"

#include <array>
#include <cstdio>

#include "report/output.h"

namespace moldex {

void CStatistics::Print() {
  std::array<char, 160> text{};
  std::snprintf(text.data(), text.size(),
                "Printing program statistics for MOLDEX...\n"
                "time elapsed: %02d:%02d:%02d (hh:mm:ss)\n"
                "Files processed: %u\n",
                elapsed_seconds_ / 3600, elapsed_seconds_ % 3600 / 60, elapsed_seconds_ % 60,
                files_processed_);
  WriteOutput(text.data());
  FlushOutput();
}

}  // namespace moldex
