// Bytes that no compressor makes shorter, the same for the same seed.
#ifndef MOLDEX_TESTS_SUPPORT_NOISE_H_
#define MOLDEX_TESTS_SUPPORT_NOISE_H_

#include <random>
#include <string>

namespace moldex::test {

inline std::string Noise(std::size_t count, unsigned seed) {
  std::mt19937 random(seed);
  std::string bytes(count, '\0');
  for (char& byte : bytes)
    byte = static_cast<char>(random());
  return bytes;
}

}  // namespace moldex::test

#endif  // MOLDEX_TESTS_SUPPORT_NOISE_H_
