// The command line as the program understands it.
//
// One record for the whole run, filled by Parse and, for the name lists, by ReadNameLists;
// CheckOptions then enforces the rules on combinations. Text options point into the argument
// vector, which outlives the record.
#ifndef MOLDEX_RUN_OPTIONS_H_
#define MOLDEX_RUN_OPTIONS_H_

#include <cstdint>
#include <string>
#include <vector>

#include "run/command.h"
#include "run/list_files.h"

namespace moldex {

class CCmdLineOptions {
 public:
  // The record of this process, created on first use.
  static CCmdLineOptions& GetInstance();
  static void Destroy();

  // Reads the arguments from index 1 on, left to right. Throws CExcept for the first one that is
  // wrong, but takes what it can from the others before that, because the archive decides where
  // text goes. For the same reason, notes on ignored options wait for PrintNotes.
  void Parse(int argument_count, char** arguments);
  void PrintNotes();

  // Reads the files of -A, -T and -X, those that are given. Throws COpenExcept, CReadExcept, and
  // CExcept for a line that breaks the format.
  void ReadNameLists();

  // Throws CExcept for the first rule that the combination of command and options breaks.
  void CheckOptions();

  // The operands and the names of the -A file: -x, -t and -d select these names, and -l looks for
  // them.
  std::vector<std::string> NameList() const;

  // Whether the -X file names this object, or a directory above it.
  bool IsExcluded(const std::string& name) const;

  // The name that the -T file gives this object; the name itself when the file does not list it.
  std::string Renamed(const std::string& name) const;
  // The pair of old and new name in `rename_map`; null when the -T file does not list the object.
  const RenameMap::value_type* FindRenaming(const std::string& name) const;
  // Whether the names of the -T file are stored in addition to the operands: only create does that,
  // and only without a list of names.
  bool StoresRenamedNames() const {
    return command_code == kCommandCreate && include_file == nullptr;
  }

  bool verbose = false;
  bool space_check = false;
  bool absolute_paths = false;
  bool checksum = false;  // accepted; checksums are always written and checked
  bool ignore_inaccessible = false;
  bool resolve_links = true;
  bool statistics = false;
  bool set_directory_permissions = true;
  bool ignore_case = false;
  bool redirect_output = false;
  bool lower_case = false;
  bool flat = false;
  bool acl = false;
  bool long_names = false;
  bool backup = false;  // store backup streams; no word of the command line sets it

  const char* target_directory = nullptr;  // -R
  const char* change_directory = nullptr;  // -C
  const char* permission_text = nullptr;   // -p
  const char* include_file = nullptr;      // -A
  const char* exclude_file = nullptr;      // -X
  const char* rename_file = nullptr;       // -T
  const char* archive_value = nullptr;     // -f
  std::uint32_t permission_value = 0;      // -p, read as octal
  int command_code = kNoCommand;
  unsigned workers = 0;  // threads that work; 0: by the processors. No word sets it

  int argument_count = 0;
  char** arguments = nullptr;

  std::vector<std::string> file_names;     // operands, in order
  std::vector<std::string> include_names;  // of the -A file; taken literally, no patterns
  std::vector<std::string> exclude_names;  // of the -X file, comparable and sorted
  RenameMap rename_map;                    // of the -T file, old name to new, normalised

 private:
  class Parser;

  std::string notes_;
};

}  // namespace moldex

#endif  // MOLDEX_RUN_OPTIONS_H_
