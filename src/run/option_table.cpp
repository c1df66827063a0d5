#include "run/option_table.h"

#include <algorithm>
#include <iterator>

namespace moldex {
namespace {

using O = CCmdLineOptions;
using enum Spelling;

constexpr Option Command(std::string_view letter, CommandCode code, std::string_view text) {
  return {.name = letter, .commands = letter, .text = text, .command = code, .spelling = kLetter};
}

constexpr Option Flag(std::string_view name, Spelling spelling, std::string_view commands,
                      bool O::*flag, bool value, std::string_view text) {
  return {.name = name,
          .commands = commands,
          .text = text,
          .flag = flag,
          .flag_value = value,
          .spelling = spelling};
}

constexpr Option Value(std::string_view name, Argument argument, std::string_view commands,
                       const char* O::*value, std::string_view text) {
  return {.name = name,
          .commands = commands,
          .text = text,
          .value = value,
          .spelling = argument == Argument::kArchive ? kLetter : kWord,
          .argument = argument};
}

constexpr Option kOptions[] = {
    Command("a", kCommandAppend, "append files to an archive"),
    Value("A", Argument::kFile, "catdxl", &O::include_file, "get names to include from FILE"),
    {.name = "backup", .commands = kEveryCommand, .text = "accepted and ignored in this edition"},
    Command("c", kCommandCreate, "create an archive"),
    Value("C", Argument::kDirectory, "c", &O::change_directory,
          "change to DIRECTORY before archiving (create only)"),
    Command("d", kCommandVerify,
            "verify an archive: every entry is decompressed and its checksum compared"),
    Flag("e", kWord, kEveryCommand, &O::redirect_output, true,
         "write all output to the file moldex_output"),
    Value("f", Argument::kArchive, "catdxm", &O::archive_value,
          "name of the archive, or list of archives (default DEFAULT.QEL)"),
    Flag("flat", kWord, "tdx", &O::flat, true, "drop the directories of the names in the archive"),
    Flag("g", kLetter, "tdxm", &O::ignore_case, true, "ignore case in the names of archives"),
    Flag("h", kWord, "x", &O::set_directory_permissions, false,
         "leave the permissions of directories alone"),
    Flag("i", kLetter, "ca", &O::ignore_inaccessible, true,
         "go on when files are inaccessible, and keep the archive"),
    Command("l", kCommandScan, "write the names of missing files to files.log"),
    Flag("lower", kWord, "x", &O::lower_case, true,
         "turn the names in the archive to lower case (extract only)"),
    Command("m", kCommandMerge, "append the first of two archives to the second"),
    Flag("n", kWord, kEveryCommand, &O::statistics, true,
         "print the release and the statistics of the run"),
    Value("p", Argument::kMode, "ca", &O::permission_text,
          "store MODE (octal) as permissions of every entry"),
    Flag("P", kWord, "cax", &O::absolute_paths, true,
         "keep absolute names when archiving; allow names with \"..\" when extracting"),
    Flag("r", kLetter, "ca", &O::resolve_links, false,
         "store links and shortcuts themselves instead of what they point to"),
    Value("R", Argument::kDirectory, "tx", &O::target_directory, "extract below DIRECTORY"),
    Flag("s", kLetter, "t", &O::space_check, true,
         "with -t: report whether there is space for an extraction"),
    Command("t", kCommandList, "list an archive"),
    Value("T", Argument::kFile, "ca", &O::rename_file, "get names to rename from FILE"),
    Flag("v", kLetter, "catdx", &O::verbose, true, "name every entry that is processed"),
    Flag("V", kWord, kEveryCommand, &O::checksum, true,
         "accepted; checksums are always written and checked"),
    Command("x", kCommandExtract, "extract an archive"),
    Value("X", Argument::kFile, "cal", &O::exclude_file, "get names to exclude from FILE"),
};

}  // namespace

std::span<const Option> Options() { return kOptions; }

const Option* FindOption(std::string_view name) {
  const auto* found = std::ranges::find(kOptions, name, &Option::name);
  return found == std::end(kOptions) ? nullptr : found;
}

const Option* FindLetter(char letter) {
  const Option* option = FindOption({&letter, 1});
  return option != nullptr && option->spelling == kLetter ? option : nullptr;
}

std::string_view ArgumentName(Argument argument) {
  switch (argument) {
    case Argument::kNone:
      return "";
    case Argument::kArchive:
      return "ARCHIVE";
    case Argument::kDirectory:
      return "DIRECTORY";
    case Argument::kFile:
      return "FILE";
    case Argument::kMode:
      return "MODE";
  }
  return "";
}

CommandSet CommandsOf(std::string_view name) {
  CommandSet commands = 0;
  const Option* option = FindOption(name);
  for (const char letter : option == nullptr ? std::string_view() : option->commands) {
    commands |= SetOf(FindLetter(letter)->command);
  }
  return commands;
}

}  // namespace moldex
