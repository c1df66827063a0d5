// A file in memory with a path that can be opened like any other.
#ifndef MOLDEX_FUZZ_MEMORY_FILE_POSIX_H_
#define MOLDEX_FUZZ_MEMORY_FILE_POSIX_H_

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>

namespace moldex::fuzz {

class MemoryFile {
 public:
  explicit MemoryFile(std::span<const std::uint8_t> bytes) : handle_(memfd_create("fuzz", 0)) {
    const auto size = static_cast<ssize_t>(bytes.size());
    if (handle_ < 0 || write(handle_, bytes.data(), bytes.size()) != size) std::abort();
  }
  ~MemoryFile() { close(handle_); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  std::string Path() const { return "/proc/self/fd/" + std::to_string(handle_); }

 private:
  int handle_;
};

}  // namespace moldex::fuzz

#endif  // MOLDEX_FUZZ_MEMORY_FILE_POSIX_H_
