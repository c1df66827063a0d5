#include "oldformat/old_options.h"

#include <string_view>

#include "run/option_table.h"

namespace moldex {
namespace {

bool TakesValue(std::string_view word) {
  const Option* option = FindOption(word.substr(1));
  return option != nullptr && option->argument != Argument::kNone;
}

// Whether the group's next argument is the archive's name, which the caller knows.
bool TakeLetters(std::string_view letters, CCmdLineOptions* options) {
  for (const char letter : letters) {
    if (letter == 'f') return true;
    if (letter == 'v') options->verbose = true;
    if (letter == 'x') options->command_code = kCommandExtract;
    if (letter == 't') options->command_code = kCommandList;
    if (letter == 'd') options->command_code = kCommandVerify;
  }
  return false;
}

}  // namespace

CCmdLineOptions ParseOldOptions(int argument_count, char** arguments) {
  CCmdLineOptions options;
  for (int i = 1; i < argument_count; ++i) {
    const std::string_view word = arguments[i];
    if (!word.starts_with('-')) {
      options.file_names.emplace_back(word);
    } else if (word == "-R") {
      options.target_directory = ++i < argument_count ? arguments[i] : nullptr;
    } else if (word == "-flat") {
      options.flat = true;
    } else if (word == "-lower") {
      options.lower_case = true;
    } else if (TakesValue(word) || TakeLetters(word.substr(1), &options)) {
      ++i;
    }
  }
  return options;
}

}  // namespace moldex
