#include "extraction/output_names.h"

#include "platform/file_services.h"

namespace moldex {

std::string COutputNames::TargetDirectory() const {
  const char* directory = options_.target_directory;
  return directory != nullptr ? directory : "";
}

// A name that -flat has cut after a directory must not begin with a drive, because no target
// directory would be put before it.
std::string COutputNames::WithoutDrive(const std::string& entry_name) const {
  const bool looks_absolute = !entry_name.empty() && !IsRelative(entry_name);
  return options_.flat && looks_absolute ? "./" + entry_name : entry_name;
}

std::string COutputNames::OutputPath(const std::string& entry_name) const {
  return OutputPath(TargetDirectory(), entry_name);
}

std::string COutputNames::OutputPath(std::string_view target_directory,
                                     const std::string& entry_name) const {
  return TargetName(SystemPathRules(), target_directory, WithoutDrive(entry_name));
}

std::string COutputNames::WrittenName(const std::string& entry_name) const {
  const std::string name = WithoutDrive(entry_name);
  const bool below = options_.target_directory != nullptr;
  return below ? std::string(NameBelowTarget(SystemPathRules(), name)) : name;
}

bool COutputNames::IsTargetDirectory(const std::string& entry_name) const {
  if (entry_name.empty()) return true;
  const PathRules rules = SystemPathRules();
  return NormalisedName(rules, OutputPath(entry_name)) == NormalisedName(rules, TargetDirectory());
}

}  // namespace moldex
