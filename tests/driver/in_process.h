// Runs the whole program, from its entry point on, in the process of the test: for what no command
// line can ask for, and for sweeps of many thousand runs.
#ifndef MOLDEX_TESTS_DRIVER_IN_PROCESS_H_
#define MOLDEX_TESTS_DRIVER_IN_PROCESS_H_

#include <filesystem>
#include <functional>
#include <string>

#include "run/options.h"
#include "support/folder_test.h"
#include "support/run_program.h"

namespace moldex::test {

// Status and output of the command line in the folder; `prepare` sets options beforehand that the
// command line does not set.
RunResult RunInProcess(const std::filesystem::path& folder, const std::string& line,
                       const std::function<void(CCmdLineOptions&)>& prepare = {});

}  // namespace moldex::test

#endif  // MOLDEX_TESTS_DRIVER_IN_PROCESS_H_
