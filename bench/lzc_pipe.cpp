// Compresses or decompresses a file by LZC, to be measured beside the command `compress`, which has
// no library: lzc_pipe compress|decompress INPUT OUTPUT
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <string_view>

#include "cscompr/cscompr.h"
#include "unbuffered_file.h"

namespace moldex::bench {
namespace {

// `call` is CsCompr or CsDecompr, with the arguments that both have.
template <typename Call>
void Pipe(const UnbufferedFile& input, const UnbufferedFile& output, Call call) {
  std::array<std::uint8_t, kPieceBytes> input_room;
  std::array<std::uint8_t, kPieceBytes> output_room;
  Bytes piece;
  std::int32_t option = kCsFirstCall | kCsLzc;
  std::int32_t code = kCsInputExhausted;
  while (code != kCsEndOfStream) {
    if (code == kCsInputExhausted) piece = input.Read(input_room);
    if (code < 0 || piece.empty()) throw std::runtime_error("not a whole stream");
    std::int32_t read = 0;
    std::int32_t written = 0;
    code = call(piece.data(), static_cast<std::int32_t>(piece.size()), output_room.data(),
                static_cast<std::int32_t>(output_room.size()), option, &read, &written);
    option = kCsLzc;
    piece = piece.subspan(static_cast<std::size_t>(read));
    output.Write(Bytes(output_room).first(static_cast<std::size_t>(written)));
  }
}

void Run(std::string_view way, const char* input, const char* output) {
  const UnbufferedFile source(input, "rb");
  const UnbufferedFile target(output, "wb");
  if (way == "compress") {
    const auto length = static_cast<std::int32_t>(std::filesystem::file_size(input));
    Pipe(source, target, [length](auto... rest) { return CsCompr(length, rest...); });
  } else {
    Pipe(source, target, CsDecompr);
  }
}

}  // namespace
}  // namespace moldex::bench

int main(int argc, char** argv) {
  try {
    if (argc != 4) throw std::runtime_error("usage: lzc_pipe compress|decompress INPUT OUTPUT");
    moldex::bench::Run(argv[1], argv[2], argv[3]);
  } catch (const std::exception& failure) {
    std::cerr << "lzc_pipe: " << failure.what() << '\n';
    return 1;
  }
  return 0;
}
