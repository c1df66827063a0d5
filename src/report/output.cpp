#include "report/output.h"

#include <cstdio>

namespace moldex {

void WriteOutput(std::string_view text) { std::fwrite(text.data(), 1, text.size(), stdout); }

void FlushOutput() { std::fflush(stdout); }

bool OutputFailed() { return std::ferror(stdout) != 0; }

}  // namespace moldex
