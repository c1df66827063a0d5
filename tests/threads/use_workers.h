// Lets the program that the tests run (run_program.h) work with so many threads.
#ifndef MOLDEX_TESTS_THREADS_USE_WORKERS_H_
#define MOLDEX_TESTS_THREADS_USE_WORKERS_H_

#include <cstdlib>
#include <string>

namespace moldex::test {

// The environment variable MOLDEX_WORKERS may name another program than the one that the build
// made. `launcher` are words before it, each with a blank after it.
inline void UseWorkers(unsigned workers, const std::string& launcher = "") {
  const char* named = std::getenv("MOLDEX_WORKERS");
  const std::string program = named != nullptr ? named : MOLDEX_WORKERS;
  (void)setenv("MOLDEX_PROGRAM", (launcher + program + " " + std::to_string(workers)).c_str(), 1);
}

}  // namespace moldex::test

#endif  // MOLDEX_TESTS_THREADS_USE_WORKERS_H_
