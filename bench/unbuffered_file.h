// A file without a buffer, which costs the system calls and nothing else.
#ifndef MOLDEX_BENCH_UNBUFFERED_FILE_H_
#define MOLDEX_BENCH_UNBUFFERED_FILE_H_

#include <cstdio>
#include <memory>
#include <string>

#include "pieces.h"

namespace moldex::bench {

// All members throw std::runtime_error.
class UnbufferedFile {
 public:
  // `mode` is that of fopen.
  UnbufferedFile(const std::string& path, const char* mode)
      : file_(std::fopen(path.c_str(), mode), &std::fclose) {
    Require(file_ != nullptr);
    std::setvbuf(file_.get(), nullptr, _IONBF, 0);
  }

  // Empty at the end of the file.
  [[nodiscard]] Bytes Read(Room room) const {
    const std::size_t length = std::fread(room.data(), 1, room.size(), file_.get());
    Require(std::ferror(file_.get()) == 0);
    return room.first(length);
  }

  void Write(Bytes bytes) const {
    Require(std::fwrite(bytes.data(), 1, bytes.size(), file_.get()) == bytes.size());
  }

 private:
  static void Require(bool holds) {
    if (!holds) throw std::runtime_error("a file cannot be opened, read or written");
  }

  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file_;
};

}  // namespace moldex::bench

#endif  // MOLDEX_BENCH_UNBUFFERED_FILE_H_
