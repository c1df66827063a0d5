// An archive that is damaged in one place: verifying, extracting and listing it say what is wrong
// and where its good part ends.
#include "program/program_test.h"

namespace moldex::test {
namespace {

// The places of an archive that holds a directory "d" and then a file "x".
constexpr std::size_t kEntryAt = 44;
constexpr std::size_t kNameAt = kEntryAt + kEntryHeaderBytes;
constexpr std::size_t kBlockAt = kNameAt + 2;
constexpr std::size_t kLengthAt = kBlockAt + kPayloadLengthAt;
constexpr std::size_t kStreamAt = kBlockAt + kBlockHeaderBytes;

struct Damage {
  void (*make)(std::string& bytes);
  const char* message;  // after "MOLDEX: "
  int status;           // of -d and of -x
  int list_status = 0;
  bool ends = false;  // the good part ends after "d": nothing that follows can be read
};

constexpr char kUnknown[] = "unknown entry type encountered (error 100). ";
constexpr char kBlockLength[] = "invalid length of a block of x in archive a.qel (error 57). ";
constexpr char kOtherLength[] =
    "error decompressing x; its length is not the one in the archive (error 57). ";
constexpr char kMoreData[] =
    "error decompressing x; it has data that its size in the archive does not announce (error "
    "57). ";

const Damage kDamages[] = {
    {[](auto& b) { b.replace(kEntryAt, 2, "XX"); }, kUnknown, 100, 100, true},
    {[](auto& b) { b.replace(kEntryAt, 2, "rg"); }, kUnknown, 100, 100, true},
    {[](auto& b) { b.replace(kEntryAt, 2, "SV"); }, kUnknown, 100, 100, true},
    {[](auto& b) { b.replace(kEntryAt, 2, "DR"); },
     "error decompressing x; it has data that its size in the archive does not announce (error "
     "57). ",
     57},
    {[](auto& b) { SetU16(b, kEntryAt + kNameLengthAt, 262); },
     "name too long in archive a.qel, after d (error 56). ", 56, 56, true},
    {[](auto& b) {
       b.insert(kNameAt, 260, 'n');
       SetU16(b, kEntryAt + kNameLengthAt, 261);
     },
     "name too long in archive a.qel, after d (error 56). ", 56, 56, true},
    {[](auto& b) { b[kNameAt] = '\xFF'; }, "could not convert from UTF8 string", 47, 47},
    // Of several faults the first that is checked.
    {[](auto& b) {
       b.replace(kEntryAt, 2, "XX");
       SetU16(b, kEntryAt + kNameLengthAt, 262);
     },
     "name too long in archive a.qel, after d (error 56). ", 56, 56, true},
    {[](auto& b) {
       b.replace(kEntryAt, 2, "SV");
       b[kNameAt] = '\xFF';
     },
     "could not convert from UTF8 string", 47, 47},
    {[](auto& b) {
       b.replace(kBlockAt, 2, "XX");
       SetU32(b, kLengthAt, 0);
     },
     "error in GetEntryData(); unknown block type (error 100). ", 100, 5, true},
    {[](auto& b) { SetU32(b, kEntryAt + kSizeLowAt, 8); }, kOtherLength, 57},
    {[](auto& b) { SetU32(b, kEntryAt + kSizeLowAt, 10); }, kOtherLength, 57},
    {[](auto& b) { SetU32(b, kEntryAt + kSizeHighAt, 1); }, kOtherLength, 57},
    {[](auto& b) { SetU32(b, kEntryAt + kSizeLowAt, 0); }, kMoreData, 57},
    {[](auto& b) { b += b.substr(kBlockAt); }, kMoreData, 57},
    {[](auto& b) { b.replace(kBlockAt, 2, "XX"); },
     "error in GetEntryData(); unknown block type (error 100). ", 100, 5, true},
    {[](auto& b) { b.replace(kBlockAt, 2, "DA"); }, "error reading from a.qel (error 5). ", 5, 5,
     true},
    {[](auto& b) { SetU32(b, kLengthAt, 0); }, kBlockLength, 57, 5, true},
    {[](auto& b) { SetU32(b, kLengthAt, 65537); }, kBlockLength, 57, 5, true},
    {[](auto& b) { SetU32(b, kLengthAt, 0x80000000); }, kBlockLength, 57, 100, true},
    {[](auto& b) { SetU32(b, kLengthAt, 0xFFFFFFFF); }, kBlockLength, 57, 100, true},
    {[](auto& b) { SetByte(b, kStreamAt + 5, 0x1E); }, "error decompressing x; error code is -50",
     100},
    {[](auto& b) { SetByte(b, kStreamAt + 8, 7); }, "error decompressing x; error code is -22",
     100},
    {[](auto& b) {
       b.erase(kStreamAt + 12, U32At(b, kLengthAt) - 12);
       SetU32(b, kLengthAt, 12);
     },
     "error decompressing x; error code is 3", 100},
    // A changed literal decodes as well as the right one; only the checksum can tell.
    {[](auto& b) { FlipByte(b, kStreamAt + 10, 0x20); }, "checksum error in x (error 12). ", 12},
    {[](auto& b) { FlipByte(b, b.size() - 1, 1); }, "checksum error in x (error 12). ", 12},
    {[](auto& b) { b.pop_back(); }, "error reading from a.qel (error 5). ", 5, 5, true}};

using Damaged = ProgramTest;

TEST_F(Damaged, ArchivesAreReportedAlikeByEveryCommand) {
  const std::string good = BuildArchive({DirectoryEntry("d"), FileEntry("x", "abcdefgh?")});
  for (const Damage& damage : kDamages) {
    SCOPED_TRACE(damage.message);
    std::string bytes = good;
    damage.make(bytes);
    Write("a.qel", bytes);
    const std::string text = Processing("a.qel") + "MOLDEX: " + damage.message + "\n";
    const std::string end = "MOLDEX: the good part of a.qel ends at byte 44, after d\n";
    ExpectRun("-df a.qel", text + (damage.ends ? end : ""), damage.status);
    Remove("out");
    ExpectRun("-xf a.qel -R out", text, damage.status);
    EXPECT_EQ(Run("-tf a.qel").status, damage.list_status);
  }
  std::string both = good;  // data and checksum changed alike
  FlipByte(both, kStreamAt + 10, 0x20);
  FixChecksum(both, 1);
  Write("a.qel", both);
  ExpectRun("-df a.qel", Processing("a.qel") + Tested(2), 0);
}

// A later fault may be noticed sooner, while the data of an entry before it are decompressed.
TEST_F(Damaged, EntriesFailInTheirOrder) {
  const std::size_t end = BuildArchive({FileEntry("w", "first")}).size();
  std::string bytes = BuildArchive({FileEntry("w", "first"), FileEntry("x", "second")});
  bytes.replace(end, 2, "XX");
  Write("a.qel", bytes);
  const std::string text = Processing("a.qel") + "d w\n";
  ExpectRun("-dvf a.qel",
            text + Failure("unknown entry type encountered", 100) +
                "MOLDEX: the good part of a.qel ends at byte " + std::to_string(end) +
                ", after w\n",
            100);
  FlipByte(bytes, end - 1, 1);
  Write("a.qel", bytes);
  ExpectRun("-dvf a.qel", text + Failure("checksum error in w", 12), 12);
}

TEST_F(Damaged, FilesKeepTheZerosBeforeTheFailureAndGetNothingBeyondTheirSize) {
  const std::string content = "data" + std::string(300'000, '\0');
  std::string bytes = BuildArchive({FileEntry("x", content)});
  SetU32(bytes, kArchiveHeader.size() + kSizeLowAt, 300'005);
  Write("a.qel", bytes);
  ExpectRun("-xf a.qel", Processing("a.qel") + "MOLDEX: " + kOtherLength + "\n", 57);
  EXPECT_TRUE(Bytes("x") == content);
  SetU32(bytes, kArchiveHeader.size() + kSizeLowAt, 100'000);
  Write("a.qel", bytes);
  ExpectRun("-xf a.qel", Processing("a.qel") + "MOLDEX: " + kOtherLength + "\n", 57);
  EXPECT_LE(Bytes("x").size(), 100'000U);
}

// They are passed over, so it does not matter that one of them is too long to be read.
TEST_F(Damaged, BlocksOfARefusedEntryEndNothing) {
  std::string bytes = BuildArchive({FileEntry("../w", "first"), FileEntry("x", "second")});
  constexpr std::size_t kBlockOfRefusedAt =
      kArchiveHeader.size() + kEntryHeaderBytes + sizeof("../w");
  const std::uint32_t length = U32At(bytes, kBlockOfRefusedAt + kPayloadLengthAt);
  SetU32(bytes, kBlockOfRefusedAt + kPayloadLengthAt, length + 70000);
  bytes.insert(kBlockOfRefusedAt + kBlockHeaderBytes, 70000, '\0');
  Write("a.qel", bytes);
  ExpectRun("-xvf a.qel", Processing("a.qel") + Leaves("../w") + "x x\n" + Extracted(1), 55);
  EXPECT_EQ(Bytes("x"), "second");
}

}  // namespace
}  // namespace moldex::test
