// A folder for one input. The whole program runs on its files in this process.
//
// When started by root, the program runs as a user who may write nowhere else, so that a fault
// cannot damage the machine.
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
  // Makes an empty folder and makes it the working directory.
  PrivateFolder();
  // Removes the folder with everything in it.
  ~PrivateFolder();
  PrivateFolder(const PrivateFolder&) = delete;
  PrivateFolder& operator=(const PrivateFolder&) = delete;

  // Runs the program with these arguments, and returns its exit status.
  int Run(std::vector<std::string> words) const;

  // Makes a directory that holds links out of it, a FIFO, and files and directories without
  // permissions.
  void PlantTarget(const std::string& name) const;

  // The names are those of files in the working directory.
  void Write(const std::string& name, std::string_view bytes) const;
  std::string Read(const std::string& name) const;

  // The kind, permissions, time and content of everything in the folder except where `leaves_out`
  // is true.
  std::string Picture(const std::function<bool(const std::string&)>& leaves_out) const;

 private:
  std::filesystem::path before_;
  std::filesystem::path path_;
};

}  // namespace moldex::fuzz

#endif  // MOLDEX_FUZZ_PRIVATE_FOLDER_POSIX_H_
