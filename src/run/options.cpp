#include "run/options.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <optional>

#include "platform/file_services.h"
#include "report/except.h"
#include "report/exit_status.h"
#include "report/hints.h"
#include "report/output.h"
#include "run/list_files.h"
#include "run/option_table.h"

namespace moldex {
namespace {

std::unique_ptr<CCmdLineOptions> instance;

// Reads octal digits as "%o" does: blanks and a sign may come before them, and anything after them.
std::optional<std::uint32_t> ReadOctal(const char* text) {
  char* end = nullptr;
  const unsigned long value = std::strtoul(text, &end, 8);
  if (end == text) return std::nullopt;
  return static_cast<std::uint32_t>(value);
}

}  // namespace

// Walks the argument vector once.
class CCmdLineOptions::Parser {
 public:
  Parser(CCmdLineOptions& options, int count, char** arguments)
      : options_(options), count_(count), arguments_(arguments) {}

  void Run() {
    while (next_ < count_)
      TakeArgument();
  }

  // Continues after the argument that is wrong, and past further ones, to find the archive's name.
  void RunOn() {
    const CExitStatusGuard guard;
    const std::string notes = options_.notes_;
    runs_on_ = true;
    while (next_ < count_) {
      try {
        TakeArgument();
      } catch (const CExcept&) {  // only the first failure is reported
      }
    }
    options_.notes_ = notes;
  }

 private:
  void TakeArgument() {
    const char* argument = arguments_[next_++];
    if (argument[0] != '-') {
      options_.file_names.emplace_back(argument);
    } else if (const Option* option = FindOption(argument + 1); option != nullptr) {
      Take(*option);
    } else {
      TakeLetters(argument + 1);
    }
  }

  const char* TakeNext() { return next_ < count_ ? arguments_[next_++] : nullptr; }

  void Take(const Option& option) {
    if (option.argument == Argument::kMode) {
      TakePermissions();
    } else if (option.value != nullptr) {
      TakeFile(std::string(option.name), option.value);
    } else if (option.flag != nullptr) {
      options_.*option.flag = option.flag_value;
    } else if (option.command != kNoCommand) {
      options_.command_code = option.command;
    } else {
      options_.notes_ +=
          "MOLDEX: option -backup only supported by UNICODE Moldex (option ignored)\n";
    }
  }

  void TakeFile(const std::string& name, const char* CCmdLineOptions::*target) {
    const char* value = TakeNext();
    if (options_.*target != nullptr) {
      throw CExcept("MOLDEX: " + name + ": use option only once", kErrorOptionTwice, true);
    }
    // An empty directory for -R comes from a variable that was not set. It would not protect
    // anything.
    const bool empty_target =
        target == &CCmdLineOptions::target_directory && value != nullptr && value[0] == '\0';
    if (value == nullptr || value[0] == '-' || empty_target) {
      throw CExcept("MOLDEX: " + name + "-option specified without filename", kErrorOptionValue,
                    true);
    }
    options_.*target = value;
  }

  void TakePermissions() {
    if (options_.permission_text != nullptr) {
      throw CExcept("MOLDEX: use p-option only once", kErrorOptionTwice, true);
    }
    options_.permission_text = TakeNext();
    if (options_.permission_text == nullptr) return;
    const auto value = ReadOctal(options_.permission_text);
    if (!value) {
      throw CExcept("MOLDEX: no octal value specified for p-option", kErrorNoOctalValue, true);
    }
    options_.permission_value = *value;
  }

  void TakeLetters(const char* letters) {
    for (; *letters != '\0'; ++letters) {
      const Option* option = FindLetter(*letters);
      if (option == nullptr) {
        if (!runs_on_ && FindOption({letters, 1}) != nullptr) {
          KeepHint(std::string("-") + *letters + " stands alone, outside of groups of letters");
        }
        throw CExcept(std::string("MOLDEX: unknown command option ") + letters, kErrorUnknownOption,
                      true);
      }
      Take(*option);
      // Letters after `f` in its group are ignored.
      if (option->argument != Argument::kNone) return;
    }
  }

  CCmdLineOptions& options_;
  int count_;
  char** arguments_;
  int next_ = 1;
  bool runs_on_ = false;  // a failure was met
};

CCmdLineOptions& CCmdLineOptions::GetInstance() {
  if (!instance) instance = std::make_unique<CCmdLineOptions>();
  return *instance;
}

void CCmdLineOptions::Destroy() { instance.reset(); }

void CCmdLineOptions::Parse(int count, char** vector) {
  argument_count = count;
  arguments = vector;
  Parser parser(*this, count, vector);
  try {
    parser.Run();
  } catch (const CExcept&) {
    parser.RunOn();
    throw;
  }
}

void CCmdLineOptions::PrintNotes() {
  WriteOutput(notes_);
  FlushOutput();
}

void CCmdLineOptions::ReadNameLists() {
  if (include_file != nullptr) include_names = ReadNameFile(include_file);
  if (exclude_file != nullptr) {
    for (const std::string& name : ReadNameFile(exclude_file)) {
      exclude_names.push_back(ComparableName(SystemPathRules(), name));
    }
    std::sort(exclude_names.begin(), exclude_names.end());
  }
  if (rename_file != nullptr) rename_map = ReadRenameFile(rename_file);
}

std::vector<std::string> CCmdLineOptions::NameList() const {
  std::vector<std::string> names = file_names;
  names.insert(names.end(), include_names.begin(), include_names.end());
  return names;
}

bool CCmdLineOptions::IsExcluded(const std::string& name) const {
  if (exclude_names.empty()) return false;
  std::string above = ComparableName(SystemPathRules(), name);
  while (!above.empty()) {
    if (std::binary_search(exclude_names.begin(), exclude_names.end(), above)) return true;
    const std::size_t slash = above.rfind('/');
    const bool below_root = slash == 0 && above.size() > 1;
    above.resize(slash == std::string::npos ? 0 : slash + (below_root ? 1 : 0));
  }
  return false;
}

std::string CCmdLineOptions::Renamed(const std::string& name) const {
  const RenameMap::value_type* renaming = FindRenaming(name);
  return renaming == nullptr ? name : renaming->second;
}

const RenameMap::value_type* CCmdLineOptions::FindRenaming(const std::string& name) const {
  if (rename_map.empty()) return nullptr;
  const auto found = rename_map.find(NormalisedName(SystemPathRules(), name));
  return found == rename_map.end() ? nullptr : &*found;
}

}  // namespace moldex
