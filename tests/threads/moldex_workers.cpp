// The program with as many workers as it is told, whatever the machine has: moldex_workers COUNT
// ARGS...
#include <cstdlib>

#include "driver/program.h"
#include "run/run_context.h"

int main(int argument_count, char** arguments) {
  if (argument_count < 2) return EXIT_FAILURE;
  const auto workers = static_cast<unsigned>(std::strtoul(arguments[1], nullptr, 10));
  moldex::CRunContext::GetInstance().options().workers = workers;
  return moldex::Main(argument_count - 1, arguments + 1);
}
