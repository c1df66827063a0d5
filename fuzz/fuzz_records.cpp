// Any bytes as the Windows records of an entry.
#include <utility>

#include "fuzz/pieces.h"
#include "fuzz/target.h"
#include "platform/backup_stream.h"
#include "platform/reparse_data.h"
#include "platform/security_descriptor.h"

namespace moldex::fuzz {
namespace {

// Takes everything down in order; the cuts within the data do not count.
struct Recorder : IBackupSink {
  bool OnData(ByteSpan bytes) override { return Take('D', bytes); }
  bool OnPosition(std::uint64_t position) override {
    return Take('P', Bytes{static_cast<std::uint8_t>(position)});
  }
  bool OnExtendedAttributes(ByteSpan bytes) override {
    std::size_t length = 0;
    for (ByteSpan rest = bytes; const auto attribute = TakeExtendedAttribute(&rest);)
      length += attribute->name.size() + attribute->value.size();
    Require(length <= bytes.size());
    return Take('E', bytes);
  }
  bool Take(char kind, ByteSpan bytes) {
    if (kind != last || kind != 'D') taken.push_back(static_cast<std::uint8_t>(kind));
    last = kind;
    taken.insert(taken.end(), bytes.begin(), bytes.end());
    return true;
  }
  Bytes taken;
  char last = 0;
};

std::pair<Bytes, bool> Parse(ByteSpan bytes, Pieces pieces) {
  Recorder recorder;
  CBackupStreamParser parser;
  while (!bytes.empty()) {
    const std::size_t size = pieces.Next(1, bytes.size());
    if (!parser.Feed(Copy(bytes.first(size)), recorder)) break;
    bytes = bytes.subspan(size);
  }
  return {recorder.taken, parser.AtStreamEnd()};
}

}  // namespace

// Two bytes that cut the stream, then the record.
void TryInput(ByteSpan input) {
  if (input.size() < 2) return;
  const Bytes record = Copy(input.subspan(2));
  IsSecurityDescriptor(record);
  SymbolicLinkTarget(record);
  const auto whole = Parse(record, Pieces());
  Require(whole == Parse(record, Pieces(input.data())));
  Require(whole.second || !IsBackupStream(record));
}

}  // namespace moldex::fuzz
