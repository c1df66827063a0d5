// Any words as a command line, and any bytes as a list file.
#include <string>
#include <vector>

#include "fuzz/memory_file_posix.h"
#include "fuzz/target.h"
#include "report/except.h"
#include "run/list_files.h"
#include "run/run_context.h"

namespace {

void Parse(const std::string& line) {
  std::vector<std::string> words{"moldex"};
  for (std::size_t at = 0, end = 0; end != std::string::npos; at = end + 1) {
    end = line.find('\n', at);
    words.push_back(line.substr(at, end - at).c_str());
  }
  std::vector<char*> arguments;
  for (std::string& word : words)
    arguments.push_back(word.data());
  arguments.push_back(nullptr);
  auto& options = moldex::CRunContext::GetInstance().options();
  options.Parse(static_cast<int>(words.size()), arguments.data());
  options.CheckOptions();
  options.NameList();
}

void ReadLists(const std::string& path) {
  try {
    moldex::ReadNameFile(path);
  } catch (const moldex::CExcept&) {
    // A line that breaks the rules of one list may be fine for the other.
  }
  moldex::ReadRenameFile(path);
}

}  // namespace

// One byte that decides, then words separated by line ends, or a list.
void moldex::fuzz::TryInput(ByteSpan input) {
  if (input.empty()) return;
  const ByteSpan bytes = input.subspan(1);
  try {
    if (input[0] % 2 == 0) {
      Parse(std::string(bytes.begin(), bytes.end()));
    } else {
      ReadLists(moldex::fuzz::MemoryFile(bytes).Path());
    }
  } catch (const moldex::CExcept&) {
    // Refused, as most inputs are.
  }
  moldex::CRunContext::Destroy();
}
