// The buffered reader and writer against plain reads and writes of the same file.
#include <random>
#include <string_view>
#include <thread>

#include "platform/buffered_reader.h"
#include "platform/buffered_writer.h"
#include "platform/sparse_writer.h"
#include "support/folder_test.h"
#include "support/noise.h"

namespace moldex::test {
namespace {

std::string AsText(std::span<const std::uint8_t> bytes) { return {bytes.begin(), bytes.end()}; }

std::span<const std::uint8_t> AsBytes(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

class BufferedFile : public FolderTest {
 protected:
  CFileHandle Open(const std::string& content) {
    Write("file", content);
    return Open(kOpenExisting);
  }
  CFileHandle Open(unsigned flags) {
    CFileHandle file;
    EXPECT_TRUE(file.Open(Name("file"), flags));
    return file;
  }
};

// A size that is as often small as large, and now and then on either side of the buffer's.
std::size_t AnySize(std::mt19937& random) {
  constexpr std::size_t kCapacity = CBufferedReader::kCapacity;
  const std::size_t near[] = {0, 1, 6, 34, kCapacity - 1, kCapacity};
  const std::size_t pick = random() % 12;
  if (pick < std::size(near)) return near[pick];
  return random() % (std::size_t{1} << (1 + random() % 17));
}

TEST_F(BufferedFile, AnyStepsReadWhatThePlainFileHolds) {
  const std::string content = Noise(3'000'017, 1);
  Write("file", content);
  for (unsigned seed = 0; seed < 40; ++seed) {
    CFileHandle file = Open(kOpenExisting);
    CBufferedReader reader(file);
    std::mt19937 random(seed);
    std::size_t at = 0;
    while (at < content.size()) {
      const std::size_t size = AnySize(random);
      const std::string expected = content.substr(at, size);
      const auto kind = random() % 3;
      if (kind == 2 && size > expected.size()) {
        ASSERT_EQ(reader.Skip(size), SkipResult::kBeyondEnd);
        break;
      }
      if (kind == 2) {
        ASSERT_EQ(reader.Skip(size), SkipResult::kMoved);
      } else {
        ASSERT_EQ(AsText(kind == 0 ? reader.Take(size) : reader.Peek(size)), expected) << at;
      }
      if (kind != 1) at += expected.size();
    }
    EXPECT_FALSE(reader.Failed());
  }
}

TEST_F(BufferedFile, ASkipMayEndAtTheEndAndNotBehindIt) {
  const std::string content = Noise(200'000, 1);
  for (const std::size_t before : {0u, 1u, 150'000u, 200'000u}) {
    for (const std::size_t beyond : {0u, 1u, 1'000'000u}) {
      CFileHandle file = Open(content);
      CBufferedReader reader(file);
      ASSERT_EQ(reader.Skip(before), SkipResult::kMoved);
      reader.Peek(before % 2 * 10);
      const auto result = reader.Skip(content.size() - before + beyond);
      EXPECT_EQ(*result, beyond == 0 ? SkipResult::kMoved : SkipResult::kBeyondEnd) << before;
      EXPECT_TRUE(beyond != 0 || reader.Take(1).empty());
      EXPECT_FALSE(reader.Failed());
    }
  }
}

TEST_F(BufferedFile, OneSkipPassesMoreThanFourGibibytes) {
  constexpr std::uint64_t kHole = (std::uint64_t{9} << 30) + 5;
  CFileHandle writer = Open(kOpenCreate);
  ASSERT_TRUE(writer.Truncate(kHole));
  EXPECT_TRUE(writer.WriteAll(AsBytes("end")));
  CFileHandle file = Open(kOpenExisting);
  CBufferedReader reader(file);
  reader.Take(5);
  EXPECT_EQ(reader.Skip(kHole - 5), SkipResult::kMoved);
  EXPECT_EQ(AsText(reader.Take(10)), "end");
  EXPECT_EQ(reader.Skip(UINT64_MAX), SkipResult::kBeyondEnd);
}

// Wherever the blocks begin in the buffer, of which two nearly fill one.
TEST_F(BufferedFile, LongSkipsReadNextToNothing) {
  CFileHandle writer = Open(kOpenCreate);
  ASSERT_TRUE(writer.Truncate(5'000'000));
  for (std::uint32_t small_entries = 900; small_entries < 2000; small_entries += 11) {
    CFileHandle file = Open(kOpenExisting);
    CBufferedReader reader(file);
    for (std::uint32_t i = 0; i < small_entries; ++i)
      EXPECT_TRUE(reader.Take(34).size() == 34 && reader.Skip(100));
    for (std::uint32_t block = 0; block < 40; ++block) {
      const std::uint32_t at = small_entries * 134 + block * 65'542;
      EXPECT_EQ(reader.Take(6).size(), 6u);
      const std::uint32_t read = file.GetPosition() - at;
      ASSERT_TRUE(block < 3 || read <= 2048) << read << " after " << small_entries;
      EXPECT_EQ(reader.Skip(65'536), SkipResult::kMoved);
    }
  }
}

TEST_F(BufferedFile, AFailedReadIsNoEndOfFile) {
  CFileHandle file = Open(Noise(10'000, 1));
  CBufferedReader reader(file);
  EXPECT_EQ(reader.Take(1).size(), 1u);
  EXPECT_TRUE(file.Close());
  EXPECT_LT(reader.Take(10'000).size(), 10'000u);
  EXPECT_TRUE(reader.Failed());
  EXPECT_FALSE(reader.Skip(50'000));
}

TEST_F(BufferedFile, WhatCannotSeekIsSkippedByReading) {
  if (!kHasLinksAndModes) GTEST_SKIP() << "no links and pipes there";
  Make({{"file", FifoNode()}});
  const std::string content = Noise(700'000, 1);
  CFileHandle writer = Open(kOpenReadWrite);
  CFileHandle file = Open(kOpenExisting);
  std::thread feeder([&] { EXPECT_TRUE(writer.WriteAll(AsBytes(content)) && writer.Close()); });
  CBufferedReader reader(file);
  EXPECT_EQ(AsText(reader.Take(7)), content.substr(0, 7));
  EXPECT_EQ(reader.Skip(500'000), SkipResult::kMoved);
  EXPECT_EQ(AsText(reader.Take(100'000)), content.substr(500'007, 100'000));
  EXPECT_EQ(reader.Skip(99'994), SkipResult::kBeyondEnd);
  feeder.join();
}

TEST_F(BufferedFile, WritesOfAnySizeArriveInOrder) {
  const std::string content = Noise(2'000'000, 1);
  for (unsigned seed = 0; seed < 10; ++seed) {
    CFileHandle file = Open(kOpenCreate);
    CBufferedWriter writer(file);
    std::mt19937 random(seed);
    for (std::size_t at = 0; at < content.size();) {
      // First one byte less than the buffer holds, then one more than is left.
      const std::size_t start = at == 0 ? 256 * 1024 - 1 : 2;
      const std::size_t later = random() % 20 == 0 ? 600'000 : AnySize(random);
      const std::size_t most = at < 256 * 1024 ? start : later;
      const std::string piece = content.substr(at, most);
      ASSERT_TRUE(writer.Write(AsBytes(piece)));
      EXPECT_TRUE(random() % 50 != 0 || writer.Flush());
      at += piece.size();
    }
    ASSERT_TRUE(writer.Flush());
    EXPECT_TRUE(Bytes("file") == content) << seed;
  }
}

// Data and zeros in turn, in runs around the size of a block, written in pieces of any size.
TEST_F(BufferedFile, AFileWithHolesHasTheSameBytes) {
  CFileHandle file;
  CSparseWriter writer(file);
  for (unsigned seed = 0; seed < 60; ++seed) {
    std::mt19937 random(seed);
    std::string content;
    for (unsigned run = seed % 2; run < 12; ++run) {
      const std::size_t length = random() % (3 * CSparseWriter::kBlockBytes);
      content += run % 2 == 0 ? Noise(length, run) : std::string(length, '\0');
    }
    content.append(seed % 3 * CSparseWriter::kBlockBytes, '\0');
    ASSERT_TRUE(file.Open(Name("file"), kOpenCreate));
    writer.Begin();
    for (std::size_t at = 0; at < content.size();) {
      const std::string piece = content.substr(at, AnySize(random));
      ASSERT_TRUE(writer.Write(AsBytes(piece)));
      at += piece.size();
    }
    ASSERT_TRUE(writer.Finish());
    ASSERT_TRUE(file.Close());
    ASSERT_EQ(Bytes("file"), content) << seed;
  }
}

TEST_F(BufferedFile, AFileThatTakesNothingIsReported) {
  CFileHandle file = Open(std::string("read only"));
  CBufferedWriter writer(file);
  EXPECT_TRUE(writer.Write(AsBytes("a"))) << "still in memory";
  EXPECT_FALSE(writer.Flush());
  EXPECT_FALSE(writer.Write(AsBytes(std::string(1'000'000, 'a'))));
  EXPECT_EQ(Bytes("file"), "read only");
}

}  // namespace
}  // namespace moldex::test
