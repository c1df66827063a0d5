// Which names of the command line, and of the list of -A, no entry of an archive had so far.
#ifndef MOLDEX_RUN_SOUGHT_NAMES_H_
#define MOLDEX_RUN_SOUGHT_NAMES_H_

#include <map>
#include <string>
#include <vector>

namespace moldex {

class CSoughtNames {
 public:
  // An archive is looked through for these names. Remembers them only where hints are wanted.
  void LookFor(const std::vector<std::string>& names);
  void Found(const std::string& name);

  // Keeps hints that tell what was found in none of the archives, if anything.
  void HintAtMissing() const;

 private:
  std::map<std::string, bool> found_;
};

}  // namespace moldex

#endif  // MOLDEX_RUN_SOUGHT_NAMES_H_
