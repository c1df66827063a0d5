// The checksum by carry-less multiplication, several times as fast as by tables. It stands apart
// because its functions are compiled for instructions that not every x86-64 has.
//
// The bytes are a polynomial over GF(2), the first bit its highest power, and the checksum is its
// remainder modulo P. A block of 16 bytes that stands D bits before another may be replaced by
// anything that has the same remainder as block * x^D, so it is multiplied by powers of x that were
// reduced before ("folding": V. Gopal et al., "Fast CRC Computation for Generic Polynomials Using
// PCLMULQDQ Instruction", Intel, 2009). Several blocks are folded side by side, because the
// processor starts a multiplication before the last one has ended.
//
// One block and fewer than 16 bytes are left in the end. They go through the tables, which costs
// less than the reduction by two more chains of multiplications.
#include <immintrin.h>

#include <array>
#include <cstddef>

#include "archive/checksum_variants.h"

namespace moldex {
namespace {

constexpr std::size_t kBlock = 16;
constexpr std::size_t kWideBlock = 64;
constexpr std::size_t kLanes = 4;  // blocks in flight

// x^power modulo P, bit 31 for x^0.
constexpr std::uint32_t PowerOfX(unsigned power) {
  std::uint32_t remainder = 0x80000000;
  for (; power > 0; --power) {
    remainder = (remainder >> 1) ^ ((remainder & 1) != 0 ? kChecksumPolynomial : 0);
  }
  return remainder;
}

// The factor that moves a block over `kBytes`. The block's low half holds its upper 64 powers, and
// in each half bit 63 stands for the lowest. The product of two such halves has 127 bits, bit 126
// the lowest, but is taken as a block, whose lowest is bit 127: it comes out multiplied by x. Hence
// one power less.
template <std::size_t kBytes>
struct Shift {
  static constexpr unsigned kBits = 8 * kBytes;
  static constexpr auto kUpper = std::int64_t{PowerOfX(kBits + 63)} << 32;
  static constexpr auto kLower = std::int64_t{PowerOfX(kBits - 1)} << 32;
};

[[gnu::target("pclmul")]] inline __m128i Load(const std::uint8_t* from) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
}

template <std::size_t kBytes>
[[gnu::target("pclmul")]] inline __m128i Fold(__m128i block) {
  const __m128i shift = _mm_set_epi64x(Shift<kBytes>::kLower, Shift<kBytes>::kUpper);
  return _mm_xor_si128(_mm_clmulepi64_si128(block, shift, 0x00),
                       _mm_clmulepi64_si128(block, shift, 0x11));
}

// The checksum of a block and the bytes after it.
[[gnu::target("pclmul")]] inline std::uint32_t Finish(__m128i block, const std::uint8_t* next,
                                                      std::size_t left) {
  for (; left >= kBlock; left -= kBlock, next += kBlock) {
    block = _mm_xor_si128(Fold<kBlock>(block), Load(next));
  }
  std::array<std::uint8_t, kBlock> rest{};
  _mm_storeu_si128(reinterpret_cast<__m128i*>(rest.data()), block);
  return UpdateChecksumPortably(UpdateChecksumPortably(0, rest), {next, left});
}

[[gnu::target("pclmul")]] std::uint32_t UpdateByBlocks(std::uint32_t checksum,
                                                       std::span<const std::uint8_t> bytes) {
  constexpr std::size_t kStep = kLanes * kBlock;
  const std::uint8_t* next = bytes.data();
  std::size_t left = bytes.size();
  if (left < kStep) return UpdateChecksumPortably(checksum, bytes);
  // The checksum so far belongs to the first bytes.
  __m128i a = _mm_xor_si128(Load(next), _mm_cvtsi32_si128(static_cast<int>(checksum)));
  __m128i b = Load(next + kBlock);
  __m128i c = Load(next + 2 * kBlock);
  __m128i d = Load(next + 3 * kBlock);
  for (next += kStep, left -= kStep; left >= kStep; next += kStep, left -= kStep) {
    a = _mm_xor_si128(Fold<kStep>(a), Load(next));
    b = _mm_xor_si128(Fold<kStep>(b), Load(next + kBlock));
    c = _mm_xor_si128(Fold<kStep>(c), Load(next + 2 * kBlock));
    d = _mm_xor_si128(Fold<kStep>(d), Load(next + 3 * kBlock));
  }
  b = _mm_xor_si128(Fold<kBlock>(a), b);
  c = _mm_xor_si128(Fold<kBlock>(b), c);
  d = _mm_xor_si128(Fold<kBlock>(c), d);
  return Finish(d, next, left);
}

bool HasBlocks() { return __builtin_cpu_supports("pclmul") != 0; }

// The same with four blocks in each register.
[[gnu::target("pclmul,avx512f,vpclmulqdq")]] inline __m512i LoadWide(const std::uint8_t* from) {
  return _mm512_loadu_si512(from);
}

template <std::size_t kBytes>
[[gnu::target("pclmul,avx512f,vpclmulqdq")]] inline __m512i FoldWide(__m512i blocks,
                                                                     __m512i added) {
  constexpr long long kUpper = Shift<kBytes>::kUpper;
  constexpr long long kLower = Shift<kBytes>::kLower;
  const __m512i shift =
      _mm512_set_epi64(kLower, kUpper, kLower, kUpper, kLower, kUpper, kLower, kUpper);
  constexpr int kXorOfThree = 0x96;
  return _mm512_ternarylogic_epi64(_mm512_clmulepi64_epi128(blocks, shift, 0x00),
                                   _mm512_clmulepi64_epi128(blocks, shift, 0x11), added,
                                   kXorOfThree);
}

[[gnu::target("pclmul,avx512f,vpclmulqdq")]] std::uint32_t UpdateByWideBlocks(
    std::uint32_t checksum, std::span<const std::uint8_t> bytes) {
  constexpr std::size_t kStep = kLanes * kWideBlock;
  const std::uint8_t* next = bytes.data();
  std::size_t left = bytes.size();
  if (left < kStep) return UpdateByBlocks(checksum, bytes);
  const __m128i before = _mm_cvtsi32_si128(static_cast<int>(checksum));
  __m512i a = _mm512_xor_si512(LoadWide(next), _mm512_zextsi128_si512(before));
  __m512i b = LoadWide(next + kWideBlock);
  __m512i c = LoadWide(next + 2 * kWideBlock);
  __m512i d = LoadWide(next + 3 * kWideBlock);
  for (next += kStep, left -= kStep; left >= kStep; next += kStep, left -= kStep) {
    a = FoldWide<kStep>(a, LoadWide(next));
    b = FoldWide<kStep>(b, LoadWide(next + kWideBlock));
    c = FoldWide<kStep>(c, LoadWide(next + 2 * kWideBlock));
    d = FoldWide<kStep>(d, LoadWide(next + 3 * kWideBlock));
  }
  b = FoldWide<kWideBlock>(a, b);
  c = FoldWide<kWideBlock>(b, c);
  d = FoldWide<kWideBlock>(c, d);
  for (; left >= kWideBlock; next += kWideBlock, left -= kWideBlock) {
    d = FoldWide<kWideBlock>(d, LoadWide(next));
  }
  std::array<std::uint8_t, kWideBlock> blocks{};
  _mm512_storeu_si512(blocks.data(), d);
  __m128i block = Load(blocks.data());
  for (std::size_t at = kBlock; at < kWideBlock; at += kBlock) {
    block = _mm_xor_si128(Fold<kBlock>(block), Load(blocks.data() + at));
  }
  return Finish(block, next, left);
}

// GCC for 64-bit Windows keeps registers of more than 16 bytes on a stack that it aligns to 16.
#ifdef _WIN32
constexpr bool kStackServes = false;
#else
constexpr bool kStackServes = true;
#endif

bool HasWideBlocks() {
  return kStackServes && HasBlocks() && __builtin_cpu_supports("avx512f") != 0 &&
         __builtin_cpu_supports("vpclmulqdq") != 0;
}

constexpr std::array<ChecksumVariant, 2> kVariants = {
    {{"VPCLMULQDQ", HasWideBlocks, UpdateByWideBlocks}, {"PCLMULQDQ", HasBlocks, UpdateByBlocks}}};

}  // namespace

std::span<const ChecksumVariant> ChecksumVariantsOfCpu() { return kVariants; }

}  // namespace moldex
