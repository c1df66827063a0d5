// A folder for one input, on whose files the whole program is run in this process.
//
// As root, the program is run as a user who may write nowhere else: what goes wrong here must not
// reach the machine.
#ifndef MOLDEX_FUZZ_PRIVATE_FOLDER_POSIX_H_
#define MOLDEX_FUZZ_PRIVATE_FOLDER_POSIX_H_

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace moldex::fuzz {

class PrivateFolder {
 public:
  // Makes it, empty, and makes it the working directory.
  PrivateFolder();
  // Removes it with everything in it.
  ~PrivateFolder();
  PrivateFolder(const PrivateFolder&) = delete;
  PrivateFolder& operator=(const PrivateFolder&) = delete;

  // Runs the program in it with these words behind its name; the status that it ends with.
  int Run(std::vector<std::string> words) const;

  // A directory that holds links to places beside it, a FIFO and what is closed already.
  void PlantTarget(const std::string& name) const;

  // Names below it are those of files in the working directory.
  void Write(const std::string& name, std::string_view bytes) const;
  std::string Read(const std::string& name) const;

  // Everything in it but what `leaves_out` names: what it is, its permissions, time and content.
  std::string Picture(const std::function<bool(const std::string&)>& leaves_out) const;

 private:
  std::filesystem::path before_;
  std::filesystem::path path_;
};

}  // namespace moldex::fuzz

#endif  // MOLDEX_FUZZ_PRIVATE_FOLDER_POSIX_H_
