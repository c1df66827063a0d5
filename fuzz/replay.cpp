// Runs a target on the files given, for compilers without a fuzzer.
//   PROGRAM FILE OR FOLDER...
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

// A missing folder counts as empty: no input of the target has failed yet.
std::vector<std::filesystem::path> FilesOf(const std::filesystem::path& place) {
  if (!std::filesystem::exists(place)) return {};
  if (!std::filesystem::is_directory(place)) return {place};
  std::vector<std::filesystem::path> files;
  for (const auto& file : std::filesystem::directory_iterator(place))
    files.push_back(file.path());
  std::sort(files.begin(), files.end());
  return files;
}

}  // namespace

int main(int count, char** arguments) {
  int tried = 0;
  for (int i = 1; i < count; ++i) {
    for (const auto& path : FilesOf(arguments[i])) {
      std::ifstream file(path, std::ios::binary);
      const std::vector<char> bytes{std::istreambuf_iterator(file), {}};
      std::fprintf(stderr, "%s\n", path.c_str());
      LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
      ++tried;
    }
  }
  std::printf("%d inputs\n", tried);
  return tried > 0 ? 0 : 1;  // nothing tried proves nothing
}
