// Any bytes as a backup stream on its way to Windows: the filter changes no byte that it passes,
// and passes nothing that makes links.
#include "fuzz/pieces.h"
#include "fuzz/target.h"
#include "platform/backup_filter.h"

namespace moldex::fuzz {
namespace {

struct Passed {
  Bytes bytes;
  bool refused = false;
  bool at_end = false;
};

Passed Pass(ByteSpan bytes, Pieces pieces) {
  Passed passed;
  CBackupFilter filter;
  while (!bytes.empty() && !passed.refused) {
    const std::size_t size = pieces.Next(1, bytes.size());
    const auto given = filter.Feed(Copy(bytes.first(size)));
    passed.refused = !given;
    if (given) passed.bytes.insert(passed.bytes.end(), given->begin(), given->end());
    bytes = bytes.subspan(size);
  }
  passed.at_end = filter.AtStreamEnd();
  return passed;
}

// Every head is whole, and that of a stream that may pass.
bool IsHarmless(ByteSpan bytes) {
  while (!bytes.empty()) {
    if (bytes.size() < kStreamIdBytes) return false;
    const StreamHead head = DecodeStreamHead(bytes.first<kStreamIdBytes>());
    const bool may_pass = head.id - 1 < kStreamAlternate || head.id == kStreamSparseBlock;
    if (!may_pass) return false;
    bytes = bytes.subspan(kStreamIdBytes);
    const std::uint64_t left = bytes.size();
    if (head.name_bytes > left) return false;
    bytes = bytes.subspan(head.name_bytes + std::min(left - head.name_bytes, head.size_bytes));
  }
  return true;
}

}  // namespace

// Two bytes that cut the stream, then the stream.
void TryInput(ByteSpan input) {
  if (input.size() < 2) return;
  const ByteSpan stream = input.subspan(2);
  const Passed whole = Pass(stream, Pieces());
  const Passed cut = Pass(stream, Pieces(input.data()));
  Require(whole.refused == cut.refused);
  Require(IsHarmless(whole.bytes) && IsHarmless(cut.bytes));
  Require(std::equal(cut.bytes.begin(), cut.bytes.end(), stream.begin()));
  Require(cut.refused || !cut.at_end || cut.bytes.size() == stream.size());
  Require(whole.refused || whole.bytes == cut.bytes);
}

}  // namespace moldex::fuzz
