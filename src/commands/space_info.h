// The report of whether there is space to extract the listed entries (-t -s).
#ifndef MOLDEX_COMMANDS_SPACE_INFO_H_
#define MOLDEX_COMMANDS_SPACE_INFO_H_

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "extraction/output_names.h"
#include "report/user_info.h"
#include "run/options.h"

namespace moldex {

// Adds up, for each place that an extraction would write to, how many bytes it needs beyond what
// the files there occupy already, and compares that with the space that is free.
//
// Memory is bounded: after kMostPlaces, a new place counts as the first on its file system.
class CSpaceInfo : public CUserInfo {
 public:
  // `options`, which say where an extraction writes to, outlive this object.
  explicit CSpaceInfo(const CCmdLineOptions& options);

  // Accounts for one entry of that name and uncompressed size. Always true.
  bool AddEntry(const std::string& name, double size_bytes);

  // The report. Sets status 30 when space is missing somewhere. Throws CExcept when the system
  // fails to tell how much is free.
  void Print() override;

 private:
  struct SpaceRecord {
    std::string location;  // the deepest existing directory on the way, or "/"
    double amount_bytes;  // needed; after the check, for a place that lacks space, free less needed
  };

  static constexpr std::size_t kMostPlaces = 1024;

  SpaceRecord& RecordOf(const std::string& location);
  bool CheckRecords();

  COutputNames names_;
  std::string target_directory_;                       // of -R, or the current one
  std::vector<SpaceRecord> records_;                   // in order of first appearance
  std::map<std::string, std::size_t> index_;           // of a location's record, by one spelling
  std::map<std::uint64_t, std::size_t> device_index_;  // of a file system's first record
};

}  // namespace moldex

#endif  // MOLDEX_COMMANDS_SPACE_INFO_H_
