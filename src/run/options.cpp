#include "run/options.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>

#include "platform/file_services.h"
#include "report/except.h"
#include "report/output.h"
#include "run/list_files.h"

namespace moldex {
namespace {

std::unique_ptr<CCmdLineOptions> instance;

struct FlagWord {
  const char* word;
  bool CCmdLineOptions::*flag;
  bool value;
};

constexpr FlagWord kFlagWords[] = {
    {"-lower", &CCmdLineOptions::lower_case, true},
    {"-flat", &CCmdLineOptions::flat, true},
    {"-V", &CCmdLineOptions::checksum, true},
    {"-v", &CCmdLineOptions::verbose, true},
    {"-e", &CCmdLineOptions::redirect_output, true},
    {"-g", &CCmdLineOptions::ignore_case, true},
    {"-n", &CCmdLineOptions::statistics, true},
    {"-h", &CCmdLineOptions::set_directory_permissions, false},
    {"-P", &CCmdLineOptions::absolute_paths, true},
};

struct FlagLetter {
  bool CCmdLineOptions::*flag;
  char letter;
  bool value;
};

constexpr FlagLetter kFlagLetters[] = {
    {&CCmdLineOptions::verbose, 'v', true},
    {&CCmdLineOptions::space_check, 's', true},
    {&CCmdLineOptions::ignore_case, 'g', true},
    {&CCmdLineOptions::ignore_inaccessible, 'i', true},
    {&CCmdLineOptions::resolve_links, 'r', false},
};

// Words whose next argument is a file or directory.
struct FileWord {
  const char* word;
  const char* CCmdLineOptions::*target;
};

constexpr FileWord kFileWords[] = {
    {"-X", &CCmdLineOptions::exclude_file},     {"-T", &CCmdLineOptions::rename_file},
    {"-C", &CCmdLineOptions::change_directory}, {"-f", &CCmdLineOptions::archive_value},
    {"-A", &CCmdLineOptions::include_file},     {"-R", &CCmdLineOptions::target_directory},
};

// Position in this text is the command's number.
constexpr char kCommandLetters[] = " cdxtaml";

// Reads octal digits as "%o" does: blanks and a sign in front, anything behind.
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
    while (next_ < count_) {
      const char* argument = arguments_[next_++];
      if (argument[0] != '-') {
        options_.file_names.emplace_back(argument);
      } else if (!TakeWord(argument)) {
        TakeLetters(argument + 1);
      }
    }
  }

 private:
  const char* TakeNext() { return next_ < count_ ? arguments_[next_++] : nullptr; }

  bool TakeWord(const char* argument) {
    for (const FlagWord& word : kFlagWords) {
      if (std::strcmp(argument, word.word) != 0) continue;
      options_.*word.flag = word.value;
      return true;
    }
    for (const FileWord& word : kFileWords) {
      if (std::strcmp(argument, word.word) != 0) continue;
      TakeFile(word.word[1], word.target);
      return true;
    }
    if (std::strcmp(argument, "-p") == 0) {
      TakePermissions();
      return true;
    }
    if (std::strcmp(argument, "-backup") != 0) return false;
    WriteOutput("MOLDEX: option -backup only supported by UNICODE Moldex (option ignored)\n");
    FlushOutput();
    return true;
  }

  void TakeFile(char letter, const char* CCmdLineOptions::*target) {
    const std::string name(1, letter);
    const char* value = TakeNext();
    if (options_.*target != nullptr) {
      throw CExcept("MOLDEX: " + name + ": use option only once", kErrorOptionTwice, true);
    }
    // An empty directory for -R is a variable that was not set; it would not protect anything.
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
      if (*letters == 'f') {
        TakeFile('f', &CCmdLineOptions::archive_value);
        return;  // what stands behind the f in its group is not looked at
      }
      if (!TakeFlagLetter(*letters) && !TakeCommandLetter(*letters)) {
        throw CExcept(std::string("MOLDEX: unknown command option ") + letters, kErrorUnknownOption,
                      true);
      }
    }
  }

  bool TakeFlagLetter(char letter) {
    for (const FlagLetter& entry : kFlagLetters) {
      if (letter != entry.letter) continue;
      options_.*entry.flag = entry.value;
      return true;
    }
    return false;
  }

  bool TakeCommandLetter(char letter) {
    const char* found = std::strchr(kCommandLetters + 1, letter);
    if (found == nullptr) return false;
    options_.command_code = static_cast<int>(found - kCommandLetters);
    return true;
  }

  CCmdLineOptions& options_;
  int count_;
  char** arguments_;
  int next_ = 1;
};

CCmdLineOptions& CCmdLineOptions::GetInstance() {
  if (!instance) instance = std::make_unique<CCmdLineOptions>();
  return *instance;
}

void CCmdLineOptions::Destroy() { instance.reset(); }

void CCmdLineOptions::Parse(int count, char** vector) {
  argument_count = count;
  arguments = vector;
  Parser(*this, count, vector).Run();
}

void CCmdLineOptions::ReadNameLists() {
  if (include_file != nullptr) include_names = ReadNameFile(include_file);
  if (exclude_file != nullptr) {
    for (const std::string& name : ReadNameFile(exclude_file)) {
      exclude_names.push_back(NormalisedName(SystemPathRules(), name));
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
  std::string above = NormalisedName(SystemPathRules(), name);
  while (!above.empty()) {
    if (std::binary_search(exclude_names.begin(), exclude_names.end(), above)) return true;
    const std::size_t slash = above.rfind('/');
    above.resize(slash == std::string::npos ? 0 : slash);
  }
  return false;
}

std::string CCmdLineOptions::Renamed(const std::string& name) const {
  if (rename_map.empty()) return name;
  const auto found = rename_map.find(NormalisedName(SystemPathRules(), name));
  return found == rename_map.end() ? name : found->second;
}

}  // namespace moldex
