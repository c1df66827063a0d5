#include "fuzz/private_folder_posix.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <numeric>
#include <set>

#include "driver/program.h"
#include "fuzz/target.h"
#include "report/exit_status.h"
#include "run/run_context.h"

namespace moldex::fuzz {
namespace {

namespace fs = std::filesystem;

constexpr uid_t kNobody = 65534;

void BecomeNobody(bool on) {
  if (getuid() != 0) return;
  if (on) Require(setegid(kNobody) == 0);
  Require(seteuid(on ? kNobody : 0) == 0);
  if (!on) Require(setegid(0) == 0);
}

// Directories without permissions could not be removed.
void Open(const fs::path& folder) {
  fs::permissions(folder, fs::perms::owner_all);
  for (const auto& item : fs::directory_iterator(folder)) {
    if (item.symlink_status().type() == fs::file_type::directory) Open(item.path());
  }
}

}  // namespace

PrivateFolder::PrivateFolder() : before_(fs::current_path()) {
  umask(022);
  const fs::path memory = "/dev/shm";
  std::string name = (fs::exists(memory) ? memory : fs::temp_directory_path()) / "moldex-XXXXXX";
  Require(mkdtemp(name.data()) != nullptr);
  path_ = name;
  if (getuid() == 0) Require(chown(name.c_str(), kNobody, kNobody) == 0);
  fs::current_path(path_);
  BecomeNobody(true);
}

PrivateFolder::~PrivateFolder() {
  BecomeNobody(false);
  fs::current_path(before_);
  Open(path_);
  fs::remove_all(path_);
}

int PrivateFolder::Run(std::vector<std::string> words) const {
  words.insert(words.begin(), "moldex");
  std::vector<char*> arguments;
  for (std::string& word : words)
    arguments.push_back(word.data());
  arguments.push_back(nullptr);
  SetExitStatus(0);
  CRunContext::GetInstance().options().workers = 1;  // so that a run can be repeated exactly
  return Main(static_cast<int>(words.size()), arguments.data());
}

void PrivateFolder::PlantTarget(const std::string& name) const {
  const std::string in = name + '/';
  for (const std::string& directory : {name, std::string("linked"), in + "c"})
    fs::create_directory(directory);
  for (const std::string& file : {std::string("beside"), in + "r"})
    Write(file, "untouched");
  fs::permissions(in + "r", fs::perms::owner_read);
  fs::permissions(in + "c", fs::perms::owner_read | fs::perms::owner_exec);
  fs::create_hard_link("beside", in + "h");
  fs::create_symlink("../beside", in + "f");
  fs::create_symlink("../linked", in + "l");
  fs::create_symlink("../no", in + "g");
  Require(mkfifo((in + "p").c_str(), 0600) == 0);
}

void PrivateFolder::Write(const std::string& name, std::string_view bytes) const {
  std::ofstream(name, std::ios::binary)
      .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

std::string PrivateFolder::Read(const std::string& name) const {
  std::ifstream file(name, std::ios::binary);
  return {std::istreambuf_iterator(file), {}};
}

std::string PrivateFolder::Picture(
    const std::function<bool(const std::string&)>& leaves_out) const {
  std::set<std::string> lines;
  for (auto item = fs::recursive_directory_iterator("."); item != fs::end(item); ++item) {
    const std::string name = item->path().lexically_relative(".");
    struct stat status {};
    Require(lstat(name.c_str(), &status) == 0);
    if (leaves_out(name)) {
      item.disable_recursion_pending();
      continue;
    }
    std::string line = name + ' ' + std::to_string(status.st_mode);
    if (S_ISREG(status.st_mode)) line += ' ' + std::to_string(status.st_mtime) + Read(name);
    lines.insert(line + '\n');
  }
  return std::accumulate(lines.begin(), lines.end(), std::string());
}

}  // namespace moldex::fuzz
