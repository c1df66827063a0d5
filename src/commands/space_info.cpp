#include "commands/space_info.h"

#include <array>
#include <cmath>
#include <cstdio>

#include "platform/file_services.h"
#include "report/except.h"
#include "report/exit_status.h"
#include "report/output.h"
#include "report/system_error.h"

namespace moldex {
namespace {

constexpr double kBytesPerKilobyte = 1024;

// The deepest existing directory on the way to `path`.
std::string LocationOf(const std::string& path) {
  std::string above = path;
  for (;;) {
    const std::size_t separator = LastSeparator(SystemPathRules(), above);
    if (separator == std::string::npos) return "/";
    above.resize(separator);
    if (TestExistence(above) == Existence::kExists) return above;
  }
}

double FreeSpace(const std::string& location) {
  const auto bytes = DiskFreeSpace(location);
  if (bytes) return *bytes;
  throw CExcept("MOLDEX: error in CUtils::GetDiskFreeSpace() for " + location, kErrorFreeSpaceQuery,
                true);
}

std::string DisplayedLocation(const std::string& location) {
  if (location != ".") return location;
  const auto directory = CurrentDirectory();
  return directory ? WithSlashes(SystemPathRules(), *directory) : "the current directory";
}

void PrintRecord(double amount_bytes, const std::string& location) {
  std::array<char, 400> amount{};
  std::snprintf(amount.data(), amount.size(), "\t%15.0f KB in ",
                std::fabs(amount_bytes) / kBytesPerKilobyte);
  WriteOutput(amount.data());
  WriteEscapedForTerminal(DisplayedLocation(location));
  WriteOutput("\n");
}

}  // namespace

CSpaceInfo::CSpaceInfo(const CCmdLineOptions& options)
    : names_(options),
      target_directory_(options.target_directory != nullptr ? options.target_directory : ".") {}

bool CSpaceInfo::AddEntry(const std::string& name, double size_bytes) {
  const std::string path = names_.OutputPath(target_directory_, name);
  const CSystemErrorGuard guard;  // a missing file is no failure
  const auto existing = QueryStatus(path);
  const double needed_bytes =
      size_bytes - (existing ? static_cast<double>(existing->size_bytes) : 0);
  if (needed_bytes <= 0) return true;
  RecordOf(LocationOf(path)).amount_bytes += needed_bytes;
  return true;
}

CSpaceInfo::SpaceRecord& CSpaceInfo::RecordOf(const std::string& location) {
  const std::string spelling = NormalisedName(SystemPathRules(), location);
  if (const auto place = index_.find(spelling); place != index_.end()) {
    return records_[place->second];
  }
  const auto status = QueryStatus(location);
  const std::uint64_t device = status ? status->identity.device : 0;
  const auto [first, is_first] = device_index_.try_emplace(device, records_.size());
  if (!is_first && records_.size() >= kMostPlaces) return records_[first->second];
  index_.emplace(spelling, records_.size());
  return records_.emplace_back(SpaceRecord{spelling.empty() ? "." : location, 0});
}

// True when every location has the space that it needs.
bool CSpaceInfo::CheckRecords() {
  bool enough = true;
  for (SpaceRecord& record : records_) {
    const double difference_bytes = FreeSpace(record.location) - record.amount_bytes;
    if (difference_bytes >= 1) continue;
    record.amount_bytes = difference_bytes;
    enough = false;
  }
  return enough;
}

void CSpaceInfo::Print() {
  WriteOutput("\n");
  if (records_.empty()) {
    WriteOutput(
        "The extraction does not require free disk space (maybe\n"
        "the extraction will only overwrite existing files of\n"
        "greater or equal size or the uncompressed size of each\n"
        "file in the archive is zero).\n\n");
  } else if (CheckRecords()) {
    WriteOutput("The extraction requires approximately...\n");
    for (const SpaceRecord& record : records_)
      PrintRecord(record.amount_bytes, record.location);
  } else {
    SetExitStatus(kErrorNoSpace);
    WriteOutput("There is free space missing... \n");
    for (const SpaceRecord& record : records_) {
      if (record.amount_bytes < 0) PrintRecord(record.amount_bytes, record.location);
    }
  }
  FlushOutput();
}

}  // namespace moldex
