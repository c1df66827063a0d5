// The names of the command line, and of the list of -A, that no entry of an archive has had so far.
#ifndef MOLDEX_RUN_SOUGHT_NAMES_H_
#define MOLDEX_RUN_SOUGHT_NAMES_H_

#include <map>
#include <string>
#include <vector>

namespace moldex {

class CSoughtNames {
 public:
  // Adds names that an archive is searched for. Does nothing unless hints are wanted.
  void LookFor(const std::vector<std::string>& names);
  void Found(const std::string& name);

  // Keeps hints about the names that were found in none of the archives, if any.
  void HintAtMissing() const;

 private:
  std::map<std::string, bool> found_;
};

}  // namespace moldex

#endif  // MOLDEX_RUN_SOUGHT_NAMES_H_
