#include "cscompr/lzh/decoder.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <span>

#include "cscompr/cscompr.h"
#include "cscompr/lzh/deflate_format.h"
#include "cscompr/stream_header.h"

namespace cscompr {
namespace {

constexpr std::int32_t kGoOn = 0;

constexpr unsigned kFixedCodes = 1;
constexpr unsigned kDynamicCodes = 2;

// When at least this many bytes of the stream are left, joining literals and lengths saves more
// time than it takes.
constexpr std::uint32_t kLeastToJoin = 8192;

// The most bits that are needed at once: a length and a distance with their extra bits. The two
// largest distance symbols are left out, as they have no meaning here.
static_assert(2 * kMaxCodeBits + 5 + 12 <= BitReader::kFilledBits);

// The entry of the next code. Skips the root bits of a long code. Bits that the input does not have
// yet read as zeros, so the entry is valid only if the reader holds as many bits as its code has.
TableEntry LookUp(const TableEntry* table, unsigned root_bits, BitReader& reader) {
  TableEntry entry = table[reader.Peek(root_bits)];
  if (IsLink(entry) && reader.count >= root_bits) {
    reader.Skip(root_bits);
    entry = table[Value(entry) + reader.Peek(CodeBits(entry))];
  }
  return entry;
}

// Skips a code and its extra bits, which must be valid, and returns the value of the extra bits.
unsigned TakeExtra(TableEntry entry, BitReader& reader) {
  reader.Skip(CodeBits(entry));
  return reader.Take(SkipBits(entry) - CodeBits(entry));
}

}  // namespace

void CopyMatchBytes(SymbolRun& run, std::size_t distance, std::size_t length) {
  if (distance > run.produced()) {
    const std::size_t back = distance - run.produced();
    const std::size_t part = std::min(length, back);
    if (part > 0) std::memcpy(run.out, run.window->end() - back, part);
    run.out += part;
    length -= part;
  }
  for (; length > 0; --length, ++run.out) {
    *run.out = *(run.out - distance);
  }
}

Outcome LzhDecoder::Start(const Buffers& buffers) {
  const auto header = ReadStreamHeader(buffers.input);
  if (!header) return {kCsNotAStream};
  bits_ = 0;
  bit_count_ = 0;
  remaining_ = header->original_length;
  step_ = Step::kBlockHeader;
  last_block_ = false;
  window_.Reset();
  return Decode(buffers, buffers.input + kStreamHeaderBytes);
}

Outcome LzhDecoder::Resume(const Buffers& buffers) { return Decode(buffers, buffers.input); }

Outcome LzhDecoder::Decode(const Buffers& buffers, const std::uint8_t* input) {
  SymbolRun run;
  run.reader = {bits_, bit_count_, input, buffers.input + buffers.input_length};
  run.out = run.out_begin = buffers.output;
  const auto space = static_cast<std::uint32_t>(buffers.output_length);
  run.out_end = buffers.output + std::min(space, remaining_);
  run.buffer_end = buffers.output + space;
  run.window = &window_;

  const std::int32_t code = RunSteps(run);
  if (code == kCsOutputFull) {
    run.reader.GiveBack(input);
  } else {
    run.reader.Trim();
  }
  bits_ = run.reader.bits;
  bit_count_ = run.reader.count;
  if (step_ != Step::kEnd) window_.Append(run.out_begin, run.produced());
  remaining_ -= static_cast<std::uint32_t>(run.produced());
  if (code < 0) {
    step_ = Step::kFailed;
    failure_ = code;
  }
  const auto read = static_cast<std::int32_t>(run.reader.next - buffers.input);
  return {code, code == kCsEndOfStream ? buffers.input_length : read,
          static_cast<std::int32_t>(run.produced())};
}

std::int32_t LzhDecoder::RunSteps(SymbolRun& run) {
  std::int32_t code = kGoOn;
  while (code == kGoOn)
    code = RunStep(run);
  return code;
}

std::int32_t LzhDecoder::RunStep(SymbolRun& run) {
  switch (step_) {
    case Step::kNotStarted:
      return kCsNotAStream;
    case Step::kBlockHeader:
      return ReadBlockHeader(run.reader);
    case Step::kCounts:
      return ReadCounts(run.reader);
    case Step::kCodeLengthLengths:
      return ReadCodeLengthLengths(run.reader);
    case Step::kCodeLengths:
      return ReadCodeLengths(run.reader);
    case Step::kSymbols:
      return ReadSymbols(run);
    case Step::kMatch:
      return CopyMatch(run);
    case Step::kEnd:
      return kCsEndOfStream;
    case Step::kFailed:
      return failure_;
  }
  return kCsBadCode;
}

std::int32_t LzhDecoder::ReadBlockHeader(BitReader& reader) {
  reader.Fill();
  if (reader.count < 3) return kCsInputExhausted;
  last_block_ = reader.Take(1) != 0;
  switch (reader.Take(2)) {
    case kFixedCodes:
      literals_ = kFixedLiteralTable.data();
      literal_lengths_ = kFixedLiteralLengths.data();
      distances_ = kFixedDistanceTable.data();
      step_ = Step::kSymbols;
      return kGoOn;
    case kDynamicCodes:
      step_ = Step::kCounts;
      return kGoOn;
    default:
      return kCsBadBlockType;
  }
}

std::int32_t LzhDecoder::ReadCounts(BitReader& reader) {
  reader.Fill();
  if (reader.count < 14) return kCsInputExhausted;
  literal_codes_ = reader.Take(5) + kFirstLengthSymbol;
  distance_codes_ = reader.Take(5) + 1;
  code_length_codes_ = reader.Take(4) + 4;
  if (literal_codes_ > kLiteralLengthCodes || distance_codes_ > kDistanceCodes) {
    return kCsBadBlockHeader;
  }
  lengths_read_ = 0;
  code_length_lengths_.fill(0);
  step_ = Step::kCodeLengthLengths;
  return kGoOn;
}

std::int32_t LzhDecoder::ReadCodeLengthLengths(BitReader& reader) {
  for (; lengths_read_ < code_length_codes_; ++lengths_read_) {
    reader.Fill();
    if (reader.count < 3) return kCsInputExhausted;
    code_length_lengths_[kCodeLengthOrder[lengths_read_]] =
        static_cast<std::uint8_t>(reader.Take(3));
  }
  lengths_read_ = 0;
  step_ = Step::kCodeLengths;
  return BuildCodeLengthTable(code_length_lengths_, code_length_table_);
}

std::int32_t LzhDecoder::ReadCodeLengths(BitReader& shared_reader) {
  BitReader reader = shared_reader;  // a local copy stays in registers
  const unsigned total = literal_codes_ + distance_codes_;
  unsigned done = lengths_read_;
  std::int32_t code = kGoOn;
  while (done < total) {
    if (reader.count < kMaxCodeLengthCodeBits + kMaxRunBits) reader.Fill();
    const auto index = static_cast<std::size_t>(reader.Peek(kCodeLengthRootBits));
    const TableEntry entry = code_length_table_[index];
    if (reader.count < SkipBits(entry)) {
      code = kCsInputExhausted;
      break;
    }
    const unsigned symbol = Value(entry);
    if (symbol < kRepeatPrevious) {
      reader.Skip(SkipBits(entry));
      code_lengths_[done++] = static_cast<std::uint8_t>(symbol);
      continue;
    }
    const unsigned repeat = RunBase(entry) + TakeExtra(entry, reader);
    if (repeat > total - done || (symbol == kRepeatPrevious && done == 0)) {
      code = kCsBadBlockHeader;
      break;
    }
    const std::uint8_t length = symbol == kRepeatPrevious ? code_lengths_[done - 1] : 0;
    std::memset(code_lengths_.data() + done, length, repeat);
    done += repeat;
  }
  lengths_read_ = done;
  shared_reader = reader;
  if (code != kGoOn) return code;
  step_ = Step::kSymbols;
  return BuildDynamicTables();
}

std::int32_t LzhDecoder::BuildDynamicTables() {
  const std::span<const std::uint8_t> lengths(code_lengths_);
  if (lengths[kEndOfBlock] == 0) return kCsBadBlockHeader;
  literals_ = literal_table_.data();
  literal_lengths_ = code_lengths_.data();
  distances_ = distance_table_.data();
  const std::int32_t code =
      BuildLiteralTable(lengths.first(literal_codes_), remaining_ >= kLeastToJoin, literal_table_);
  if (code != 0) return code;
  return BuildDistanceTable(lengths.subspan(literal_codes_, distance_codes_), distance_table_);
}

void LzhDecoder::EndBlock() { step_ = last_block_ ? Step::kEnd : Step::kBlockHeader; }

std::int32_t LzhDecoder::ReadSymbols(SymbolRun& run) {
  switch (RunFast(literals_, distances_, run, portable_)) {
    case FastStop::kBadCode:
      return kCsBadCode;
    case FastStop::kBlockEnd:
      EndBlock();
      return kGoOn;
    case FastStop::kEdge:
      break;
  }
  std::int32_t code = kGoOn;
  while (code == kGoOn && step_ == Step::kSymbols)
    code = ReadSymbol(run);
  return code;
}

std::int32_t LzhDecoder::ReadSymbol(SymbolRun& run) {
  run.reader.Fill();
  BitReader ahead = run.reader;  // stored once the symbol is known to be whole
  const TableEntry entry = LookUp(literals_, kLiteralRootBits, ahead);
  unsigned code_bits = IsLink(entry) ? kLiteralRootBits + 1 : CodeBits(entry);
  if (HasLiteral(entry) && !IsLiteral(entry)) {
    code_bits =
        literal_lengths_[Literal(entry)];  // the length that it is joined with is the next symbol
  }
  if (ahead.count < code_bits) return kCsInputExhausted;
  if (HasLiteral(entry)) {
    if (run.space() == 0) return run.produced() == remaining_ ? kCsTooLong : kCsOutputFull;
    ahead.Skip(code_bits);
    *run.out++ = Literal(entry);
    run.reader = ahead;
    return kGoOn;
  }
  if (IsExceptional(entry)) {
    if ((entry & kEndOfBlockFlag) == 0) return kCsBadCode;
    ahead.Skip(CodeBits(entry));
    run.reader = ahead;
    EndBlock();
    return kGoOn;
  }
  if (ahead.count < SkipBits(entry)) return kCsInputExhausted;
  const unsigned length = LengthBase(entry) + TakeExtra(entry, ahead);
  return ReadMatch(run, ahead, length);
}

std::int32_t LzhDecoder::ReadMatch(SymbolRun& run, const BitReader& after_length, unsigned length) {
  BitReader ahead = after_length;
  const TableEntry entry = LookUp(distances_, kDistanceRootBits, ahead);
  if (ahead.count < (IsLink(entry) ? kDistanceRootBits + 1 : CodeBits(entry))) {
    return kCsInputExhausted;
  }
  if (IsExceptional(entry)) return kCsBadCode;
  if (ahead.count < SkipBits(entry)) return kCsInputExhausted;
  match_distance_ = Value(entry) + TakeExtra(entry, ahead);
  match_length_ = length;
  if (!run.Reaches(match_distance_)) return kCsBadCode;
  if (length > remaining_ - run.produced()) return kCsTooLong;
  run.reader = ahead;
  return CopyMatch(run);
}

std::int32_t LzhDecoder::CopyMatch(SymbolRun& run) {
  const auto part = static_cast<std::uint32_t>(std::min<std::size_t>(match_length_, run.space()));
  CopyMatchBytes(run, match_distance_, part);
  match_length_ -= part;
  step_ = match_length_ == 0 ? Step::kSymbols : Step::kMatch;
  return match_length_ == 0 ? kGoOn : kCsOutputFull;
}

}  // namespace cscompr
