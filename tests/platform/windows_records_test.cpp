// Windows records as bytes and bits: attributes and modes, symbolic links, security descriptors.
// Pure functions, tested alike on every system.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "base/bytes.h"
#include "platform/attributes.h"
#include "platform/backup_filter.h"
#include "platform/backup_stream.h"
#include "platform/reparse_data.h"
#include "platform/security_descriptor.h"

namespace moldex::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

// In memory of its own, so that the sanitizer sees a step beyond it.
Bytes Front(const Bytes& bytes, std::size_t length) {
  return {bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length)};
}

TEST(Attributes, BecomeModesAndComeBack) {
  const std::tuple<std::uint32_t, std::uint32_t, std::uint32_t> cases[] = {
      {0x80, 0x180, 0x80},    {0x1, 0x100, 0x1},    {0x20, 0x100180, 0x20},
      {0x21, 0x100100, 0x21}, {0x2, 0x40180, 0x2},  {0x4, 0x80180, 0x4},
      {0x6, 0xC0180, 0x6},    {0x7, 0xC0100, 0x7},  {0x10, 0x4180, 0x80},
      {0x11, 0x4100, 0x1},    {0x16, 0xC4180, 0x6}, {0x5F24, 0x7F80180, 0x5F24}};
  for (const auto& [attributes, mode, back] : cases) {
    EXPECT_EQ(ModeOfAttributes(attributes, "name"), mode) << std::hex << attributes;
    EXPECT_EQ(AttributesOfMode(mode), back) << std::hex << mode;
  }
}

TEST(Attributes, TheRuntimesModeGivesEverybodyTheSame) {
  const std::tuple<const char*, std::uint32_t, std::uint32_t> cases[] = {
      {"a.txt", 0x20, 0100666},   {"a.txt", 0x21, 0100444},   {"a.exe", 0x80, 0100777},
      {"A.EXE", 0x80, 0100777},   {"d/a.Bat", 0x81, 0100555}, {"exe", 0x80, 0100666},
      {"a.exe.x", 0x80, 0100666}, {"folder", 0x10, 040777},   {"folder", 0x11, 040555},
      {"", 0x2, 0100666},         {"a.com", 0x80, 0100777},   {"a.cmd", 0x80, 0100777}};
  for (const auto& [name, attributes, mode] : cases) {
    EXPECT_EQ(RuntimeModeOf(attributes, name), mode) << std::oct << name;
  }
}

// A symbolic link's reparse point, its substitute name in front of its print name.
Bytes LinkData(const std::u16string& substitute, const std::u16string& print) {
  Bytes data(20);
  PutU32(data.data(), 0xA000000C);
  PutU16(&data[10], static_cast<std::uint16_t>(substitute.size() * 2));
  PutU16(&data[12], static_cast<std::uint16_t>(substitute.size() * 2));
  PutU16(&data[14], static_cast<std::uint16_t>(print.size() * 2));
  for (const char16_t unit : substitute + print) {
    data.push_back(static_cast<std::uint8_t>(unit));
    data.push_back(static_cast<std::uint8_t>(unit >> 8));
  }
  return data;
}

TEST(ReparseData, GiveTheTargetAsItWasGiven) {
  EXPECT_EQ(SymbolicLinkTarget(LinkData(u"\\??\\C:\\d\\f", u"..\\f\u00E4")), u"..\\f\u00E4");
  EXPECT_EQ(SymbolicLinkTarget(LinkData(u"\\??\\C:\\d\\f", u"")), u"C:\\d\\f");
  EXPECT_EQ(SymbolicLinkTarget(LinkData(u"f", u"")), u"f");
  Bytes junction = LinkData(u"x", u"y");
  PutU32(junction.data(), 0xA0000003);
  EXPECT_FALSE(SymbolicLinkTarget(junction).has_value());
}

TEST(ReparseData, NothingIsReadBeyondTheirEnd) {
  const Bytes whole = LinkData(u"substitute", u"print");
  for (std::size_t length = 0; length < whole.size(); ++length)
    EXPECT_FALSE(SymbolicLinkTarget(Front(whole, length)).has_value()) << length;
  for (const std::size_t field : {12u, 14u}) {
    Bytes data = whole;
    PutU16(&data[field], 0xFFFF);
    EXPECT_FALSE(SymbolicLinkTarget(data).has_value()) << field;
  }
}

Bytes Stream(std::uint32_t id, const std::u16string& name, std::size_t size) {
  Bytes bytes(kStreamIdBytes);
  const auto name_bytes = static_cast<std::uint32_t>(name.size() * 2);
  EncodeStreamHead({id, 0, size, name_bytes}, std::span(bytes).first<kStreamIdBytes>());
  for (const char16_t unit : name) {
    bytes.push_back(static_cast<std::uint8_t>(unit));
    bytes.push_back(static_cast<std::uint8_t>(unit >> 8));
  }
  bytes.resize(bytes.size() + size, 'x');
  return bytes;
}

// In pieces of every length, so that heads and names arrive in every state.
TEST(BackupFilter, NothingOfAStreamThatWouldDoMoreThanRestoreAFileIsGivenOut) {
  const Bytes good = Stream(4, u":name:$DATA", 9);
  std::vector<std::tuple<std::uint32_t, std::u16string, bool>> cases;
  for (const std::uint32_t id : {1, 2, 3, 9})
    cases.emplace_back(id, u"", true);
  for (const char16_t* name : {u":a", u":a:$DATA"})
    cases.emplace_back(4, name, true);
  for (const std::uint32_t id : {0, 4, 5, 6, 7, 8, 10, 0x10001})
    cases.emplace_back(id, u"", false);
  for (const char16_t* name :
       {u"a", u":", u":a\\b", u":../b", u"::$DATA", u":a:$INDEX_ALLOCATION", u":a:b:$DATA"})
    cases.emplace_back(4, name, false);
  cases.emplace_back(1, u":a", false);
  cases.emplace_back(4, u":" + std::u16string(256, 'n'), false);
  for (const auto& [id, name, passes] : cases) {
    Bytes bytes = good;
    for (const std::uint8_t byte : Stream(id, name, 11))
      bytes.push_back(byte);
    for (std::size_t piece = 1; piece <= bytes.size(); ++piece) {
      CBackupFilter filter;
      Bytes given;
      bool refused = false;
      for (std::size_t at = 0; at < bytes.size() && !refused; at += piece) {
        const auto out =
            filter.Feed(std::span(bytes).subspan(at).first(std::min(piece, bytes.size() - at)));
        refused = !out;
        if (out) given.insert(given.end(), out->begin(), out->end());
      }
      EXPECT_EQ(refused, !passes) << id;
      EXPECT_TRUE(given == (passes ? bytes : Front(good, std::min(given.size(), good.size()))))
          << id;
      EXPECT_EQ(filter.AtStreamEnd(), passes);
    }
  }
}

// Owner and group "BUILTIN\Administrators", and a list that allows them everything.
Bytes Descriptor() {
  const Bytes administrators = {1, 2, 0, 0, 0, 0, 0, 5, 0x20, 0, 0, 0, 0x20, 2, 0, 0};
  const Bytes head = {1, 0, 0x04, 0x80, 20, 0, 0, 0, 36, 0, 0, 0, 0, 0, 0, 0, 52, 0, 0, 0};
  const Bytes list = {2, 0, 32, 0, 1, 0, 0, 0, 0, 0, 24, 0, 0xFF, 0x01, 0x1F, 0};
  Bytes bytes;
  for (const Bytes& part : {head, administrators, administrators, list, administrators})
    bytes.insert(bytes.end(), part.begin(), part.end());
  return bytes;
}

TEST(SecurityDescriptor, AWholeOneIsKnownAndNoPartOfItMayReachBeyondTheEnd) {
  const Bytes whole = Descriptor();
  EXPECT_TRUE(IsSecurityDescriptor(whole));
  for (std::size_t length = 0; length < whole.size(); ++length)
    EXPECT_FALSE(IsSecurityDescriptor(Front(whole, length))) << length;
  Bytes empty(20);
  empty[0] = 1;
  empty[3] = 0x80;
  EXPECT_TRUE(IsSecurityDescriptor(empty)) << "nothing is set";
}

TEST(SecurityDescriptor, EveryFieldThatLeadsSomewhereIsJudged) {
  const std::tuple<std::size_t, std::uint8_t, const char*> cases[] = {
      {0, 2, "revision"},
      {3, 0, "absolute"},
      {4, 19, "owner in the head"},
      {4, 200, "owner after the end"},
      {4, 22, "owner askew"},
      {7, 0x80, "owner far away"},
      {20, 9, "owner's revision"},
      {21, 16, "owner's parts"},
      {8, 81, "group askew"},
      {16, 84, "list after the end"},
      {54, 33, "list's size"},
      {54, 7, "list smaller than its head"},
      {56, 2, "list's count"},
      {62, 28, "entry's size"},
      {62, 23, "entry's size askew"},
      {62, 4, "entry without its identifier"},
      {69, 15, "identifier's parts"},
      {52, 9, "list's revision"}};
  for (const auto& [at, value, what] : cases) {
    Bytes bytes = Descriptor();
    bytes[at] = value;
    EXPECT_FALSE(IsSecurityDescriptor(bytes)) << what;
  }
}

}  // namespace
}  // namespace moldex::test
