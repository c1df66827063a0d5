// Entries of any names and sizes in the space report: every byte that is needed is counted once,
// and every directory is listed once, in whichever form its name is given.
#include <cmath>
#include <filesystem>
#include <set>
#include <sstream>

#include "commands/space_info.h"
#include "fuzz/made_archive.h"
#include "fuzz/private_folder_posix.h"
#include "platform/file_services.h"
#include "report/output.h"
#include "run/run_context.h"

namespace moldex::fuzz {
namespace {

// Redirects standard output to a file for this.
std::string ReportOf(CSpaceInfo& info, const PrivateFolder& folder) {
  Require(SendTextToFile("report", false));
  info.Print();
  FlushOutput();
  return folder.Read("report");
}

}  // namespace

void TryInput(ByteSpan input) {
  const PrivateFolder folder;
  for (const char* name : {"a", "a/b", "c"})
    std::filesystem::create_directory(name);
  folder.Write("f", std::string(2048, 'f'));
  CSpaceInfo info(CRunContext::GetInstance().options());
  double needed = 0;
  for (const MadeEntry& entry : EntriesOf(input)) {
    const std::string name = entry.name.c_str();  // a zero byte ends a name
    const double size = static_cast<double>(entry.content.size()) * 1024;
    const auto there = QueryStatus(TargetName(SystemPathRules(), ".", name));
    needed += std::max(0.0, size - (there ? static_cast<double>(there->size_bytes) : 0));
    info.AddEntry(name, size);
  }
  std::istringstream report(ReportOf(info, folder));
  double listed = 0;
  std::set<std::filesystem::path> places;
  for (std::string line; std::getline(report, line);) {
    const std::size_t at = line.find(" KB in ");
    if (at == std::string::npos) continue;
    listed += std::stod(line) * 1024;
    const std::string place = line.substr(at + 7);
    if (!HasParentComponent(SystemPathRules(), place)) {
      Require(places.insert(std::filesystem::canonical(place)).second);
    }
  }
  Require(std::fabs(needed - listed) <= 1024.0 * static_cast<double>(places.size() + input.size()));
  CRunContext::Destroy();
}

}  // namespace moldex::fuzz
