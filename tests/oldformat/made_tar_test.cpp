// Archives of old formats that no writer at hand makes: odd and hostile ones, and what is none.
#include "oldformat/tar_bytes.h"
#include "program/program_test.h"

namespace moldex::test {
namespace {

class MadeTar : public ProgramTest {
 protected:
  void Archive(const std::vector<TarItem>& items) const { Write("a.tar", BuildTar(items)); }
  // Extracts a.tar into "out", which gives these messages and these files.
  void ExpectExtraction(const std::string& out, int status, const std::string& listing) const {
    ExpectRun("-xf a.tar -R out", Processing("a.tar") + out, status);
    EXPECT_EQ(Listing("out"), listing);
  }
};

TarItem File(std::string name, std::string content) {
  return {std::move(name), '0', std::move(content)};
}
TarItem Directory(std::string name, std::string mode = "0000755") {
  TarItem item{std::move(name), '5', ""};
  item.mode = std::move(mode);
  return item;
}

TarItem Sized(TarItem item, std::string size) {
  item.size = std::move(size);
  return item;
}

TEST_F(MadeTar, TakesNamesFromWhereverTheyStand) {
  TarItem prefixed = File("f", "1");
  prefixed.prefix = std::string(155, 'p');
  TarItem not_prefixed = File("g", "2");
  not_prefixed.prefix = "is a date";
  not_prefixed.magic = kGnuMagic;
  TarItem oldest = File("h/i/", "");
  oldest.type = '\0';
  oldest.magic = "";
  const std::string full(100, 'n');
  Archive({prefixed,
           not_prefixed,
           oldest,
           File(full, "3"),
           GnuLongItem(std::string(65535, 'L')),
           PaxItem(PaxRecord("path", "from/pax") + PaxRecord("other", "x")),
           File("j", "4"),
           GnuLongItem("long"),
           File("k", "5"),
           PaxItem(PaxRecord("path", "default") + PaxRecord("size", "0"), 'g'),
           File("l", "6"),
           PaxItem(PaxRecord("path", "no")),
           PaxItem(PaxRecord("path", "")),
           File("m", "7"),
           PaxItem(PaxRecord("path", std::string("a\0b", 3)), 'X'),
           File("n", "8"),
           File("/abs/o", "9"),
           File("C:/p", "0"),
           File("./q", "a"),
           File("r", "b"),
           PaxItem(PaxRecord("SCHILY.xattr.user.big", std::string(200000, '\n')) +
                   PaxRecord("path", "s")),
           File("behind records that nobody needs", "c")});
  ExpectExtraction("", 0,
                   "a=8 abs/o=9 from/pax=4 g=2 h/i/ l=6 long=5 m=7 " + full + "=3 p=0 " +
                       std::string(155, 'p') + "/f=1 q=a r=b s=c");
}

TEST_F(MadeTar, ListsSizesAndTimesOfEveryNotation) {
  const std::tuple<std::string, std::string, std::string, const char*> cases[] = {
      {"77777777777", "00000000000", "", "  8589934591    01 Jan 1970 00:00"},
      {"777777777777", "7777777777 ", "", " 68719476735    10 Jan 2004 13:37"},
      {BinaryTarNumber(8589934592), BinaryTarNumber(-1), "", "  8589934592    01 Jan 1970 00:00"},
      {BinaryTarNumber(1LL << 40), BinaryTarNumber(0xFFFFFFFF), "",
       "1099511627776    07 Feb 2106 06:28"},
      {"          7 ", BinaryTarNumber(1LL << 60), "", "           7    07 Feb 2106 06:28"},
      {"0", "0", PaxRecord("size", "9007199254740993") + PaxRecord("mtime", "1105103100.99"),
       "9007199254740993    07 Jan 2005 13:05"},
      {"0", "junk", PaxRecord("mtime", "-0.5"), "           0    01 Jan 1970 00:00"},
      {"0", "00000250600", PaxRecord("mtime", "noon"), "           0    02 Jan 1970 00:00"},
  };
  for (const auto& [size, mtime, records, text] : cases) {
    TarItem item = Sized(File("x", ""), size);
    item.mtime = mtime;
    Write("a.tar", EncodeTarItem(PaxItem(records)) + EncodeTarItem(item));
    ExpectBegins("-tf a.tar", Processing("a.tar") + "-rw-------" + text + " x\n",
                 size == "0" && records.find("size") == std::string::npos ? 0 : 40);
  }
  const auto dated = [](const char* date, char type) {
    return PaxItem(PaxRecord("mtime", date), type);
  };
  Archive({dated("86400", 'g'), File("x", ""), dated("0", 'x'), File("y", ""), File("z", ""),
           dated("", 'g'), File("end", "")});
  const std::string size = "-rw-------           0    ";
  ExpectRun("-tf a.tar",
            Processing("a.tar") + size + "02 Jan 1970 00:00 x\n" + size + "01 Jan 1970 00:00 y\n" +
                size + "02 Jan 1970 00:00 z\n" + size + "07 Jan 2005 13:05 end\n",
            0);
}

TEST_F(MadeTar, TheSumMayBeOneOfSignedNumbers) {
  std::string archive = BuildTar({File("\xC3\xA4\xC3\xB6\xC3\xBC", "1")});
  FixTarChecksum(archive, 0, true);
  Write("a.tar", archive);
  ExpectRun("-xf a.tar", Processing("a.tar"), 0);
  EXPECT_EQ(Bytes("\xC3\xA4\xC3\xB6\xC3\xBC"), "1");
}

TEST_F(MadeTar, NeverLeavesTheTarget) {
  Write("beside", "untouched");
  Archive({File("../beside", "1"),
           File("d/../../beside", "2"),
           File("/../beside", "3"),
           Directory(".."),
           Directory("d/.."),
           File("x:../beside", "4"),
           PaxItem(PaxRecord("path", "../beside")),
           File("a", "5"),
           GnuLongItem("/../../beside"),
           File("b", "6"),
           {"d", '2', "", ".."},
           File("d/beside", "7"),
           Directory("/"),
           File("last", "8")});
  std::string expected;
  for (const std::string name : {"../beside", "d/../../beside", "../beside", "..", "d/..",
                                 "../beside", "../beside", "../../beside"})
    expected += Failure("name leaves the target directory: " + name, 55);
  expected += Failure("symbolic link left out: d -> ..", 40);
  ExpectRun("-xf a.tar -R out -P", Processing("a.tar") + expected, 40);
  ExpectExtraction(expected, 40, "d/beside=7 last=8");
  EXPECT_EQ(Bytes("beside"), "untouched");
  // Where no directory is given, absolute names are not taken as such.
  const std::string absolute = Name("made");
  Archive({GnuLongItem(absolute), File("x", "1")});
  ExpectRun("-xf a.tar", Processing("a.tar"), 0);
  EXPECT_FALSE(Exists("made"));
  EXPECT_EQ(Bytes(absolute.substr(1)), "1");
}

TEST_F(MadeTar, LeavesOutWhatItCannotMake) {
  TarItem sparse{"s", 'S', "parts"};
  sparse.magic = kGnuMagic;
  std::string archive = EncodeTarItem(sparse);
  archive[482] = 1;  // two blocks with more parts follow
  archive.replace(483, 11, "00000007777");
  FixTarChecksum(archive, 0);
  std::string parts(2 * kTarBlock, 'p');
  parts[kTarBlock + 504] = 0;
  archive.insert(kTarBlock, parts);
  const std::string sparse_records =
      PaxRecord("GNU.sparse.name", "real") + PaxRecord("GNU.sparse.realsize", "99");
  const std::pair<const char*, std::vector<TarItem>> cases[] = {
      {"device left out: c", {{"c", '3', ""}}},
      {"device left out: b", {{"b", '4', ""}}},
      {"FIFO left out: p", {Sized({"p", '6', ""}, "00000001000")}},  // means nothing
      {"hard link left out: h -> f", {Sized({"h", '1', "", "f"}, "00000001000")}},
      {"hard link left out: h -> g", {{"h", '1', std::string(700, 'd'), "g"}}},
      {"hard link left out: h -> x",
       {PaxItem(PaxRecord("size", "600")), Sized({"h", '1', std::string(600, 'd'), "x"}, "0")}},
      {"symbolic link left out: l -> far", {GnuLongItem("far", 'K'), {"l", '2', "", "near"}}},
      {"symbolic link left out: m -> pax",
       {PaxItem(PaxRecord("linkpath", "pax")), {"m", '2', "", "near"}}},
      {"entry of unknown kind left out: Z", {{"Z", 'Z', "data of something"}, {"label", 'V', ""}}},
      {"sparse file left out: real", {PaxItem(sparse_records), File("t", "map and parts")}},
      {"file named like a directory left out: .", {File(".", "no name")}},
      {"file named like a directory left out: ./z/.", {File("./z/.", "none either")}}};
  std::string expected = Failure("sparse file left out: s", 40);
  for (const auto& [message, items] : cases) {
    expected += Failure(message, 40);
    for (const TarItem& item : items)
      archive += EncodeTarItem(item);
  }
  Write("a.tar", archive + BuildTar({{"D", 'D', "Yname"}, File("f", "1"), {"e", '7', "2"}}));
  ExpectExtraction(expected, 40, "D/ e=2 f=1");
  ExpectRun("-xvf a.tar -R out", Processing("a.tar") + expected + "x D\nx f\nx e\n", 40);
  ExpectRun("-df a.tar", Processing("a.tar"), 0);
  const std::string listing = Run("-tf a.tar").out;
  EXPECT_NE(listing.find("        4095    07 Jan 2005 13:05 s\n"), std::string::npos) << listing;
  EXPECT_NE(listing.find("          99    07 Jan 2005 13:05 real\n"), std::string::npos);
}

TEST_F(MadeTar, ChoosesAndNamesByItsOwnOptions) {
  Write("list", "d/x\n");
  Archive(
      {Directory("D/"), File("D/X", "1"), Directory("D/e/"), File("D/e/Y", "2"), File("Z", "3")});
  const std::pair<const char*, const char*> cases[] = {
      {"", "D D/X D/e D/e/Y Z"}, {"D", "D D/X D/e D/e/Y"},
      {"D/e Z", "D/e D/e/Y Z"},  {"-lower", "d d/x d/e d/e/y z"},
      {"-lower d/x", "d/x"},     {"-flat", "D X e Y Z"},
      {"-flat Y -lower y", "y"}, {"-A list -g -V -h -n -backup", "D D/X D/e D/e/Y Z"}};
  for (const auto& [options, entries] : cases) {
    const RunResult run = Run(std::string("-xvf a.tar -R out ") + options);
    std::string expected = Processing("a.tar");
    for (const std::string& name : SplitAtBlanks(entries))
      expected += "x " + name + "\n";
    EXPECT_NE(run.out.find(expected), std::string::npos) << run.out;
    for (const std::string& name : SplitAtBlanks(entries))
      EXPECT_TRUE(Exists("out/" + name)) << options;
    Remove("out");
  }
  ExpectRun("-xf a.tar -R out Z no",
            Processing("a.tar") + "MOLDEX: not all files could be extracted\n", 40);
  ExpectRun("-df a.tar no", Processing("a.tar") + "MOLDEX: not all files could be tested\n", 40);
  ExpectRun("-tf a.tar no", Processing("a.tar"), 0);
  ExpectRun("-tf a.tar -flat Y",
            Processing("a.tar") + "-rw-------           1    07 Jan 2005 13:05 Y\n", 0);
  Archive({File("d/a:z", "1"), File("d/", ""), File("d/b:/c:x", "2")});
  ExpectRun("-xvf a.tar -flat -R flat", Processing("a.tar") + "x a:z\nx d\nx c:x\n", 0);
  EXPECT_EQ(Below("flat").size(), 3u);
}

TEST_F(MadeTar, RestoresPermissionsAsEverywhere) {
  TarItem special = File("d/s", "1");
  special.mode = "0006755";
  Archive({Directory("d", "0000555"), special, Directory("d/e", "0000500"), File("d/e/f", "2")});
  for (int run = 0; run < 2; ++run)  // the second one over what is there
    ExpectRun("-xf a.tar -R out", Processing("a.tar"), 0, User::kNobody);
  EXPECT_EQ(Below("out"), AsExtracted({{"d", DirectoryNode(0555)},
                                       {"d/s", FileNode("1", 0755)},
                                       {"d/e", DirectoryNode(0500)},
                                       {"d/e/f", FileNode("2")}}));
  ExpectRun("-xf a.tar -R h -h", Processing("a.tar"), 0);
  EXPECT_NE(Below("h").at("d").mode, 0555u);
}

TEST_F(MadeTar, LeavesTheTargetItselfAsItIs) {
  using std::filesystem::perms;
  Make({{"out", DirectoryNode()}});
  permissions(Path("out"), perms::all | perms::sticky_bit);  // that of another user, open to all
  const perms before = std::filesystem::status(Path("out")).permissions();
  Archive({Directory("./", "0000700"), File("./f", "1"), Directory("/"), Directory("./."),
           Directory("./d", "0000700"), File("./d/g", "2")});
  Write("a.qel", BuildArchive({DirectoryEntry(".", 040711), DirectoryEntry("x/.", 040711)}));
  for (const User user : {User::kNobody, User::kSame}) {
    ExpectRun("-xvf a.tar -R out", Processing("a.tar") + "x .\nx ./f\nx .\nx ./.\nx ./d\nx ./d/g\n",
              0, user);
    ExpectRun("-xf a.qel -flat -R out", Processing("a.qel") + Extracted(2), 0, user);
    EXPECT_EQ(std::filesystem::status(Path("out")).permissions(), before);
    EXPECT_EQ(
        Below("out"),
        AsExtracted({{"f", FileNode("1")}, {"d", DirectoryNode(0700)}, {"d/g", FileNode("2")}}));
  }
}

TEST_F(MadeTar, StandsInAListOfArchives) {
  Write("a.qel", BuildArchive({FileEntry("q", "1")}));
  Archive({File("t", "2")});
  RunResult run = Run(Words{"-xf", "a.qel,a.tar,a.qel", "-R", "out"});
  EXPECT_EQ(run.out,
            Processing("a.qel") + Extracted(1) + Processing("a.tar") + Processing("a.qel"));
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(Below("out").size(), 2u);
  run = Run(Words{"-tsf", "a.qel,a.tar"});
  EXPECT_EQ(run.out, Processing("a.qel") + "-rw-------           1    07 Jan 2005 13:05 q\n" +
                         Processing("a.tar") + "-rw-------           1    07 Jan 2005 13:05 t\n");
  ExpectRun("-xf a.tar", Processing("a.tar"), 0);
  Archive({File("a.tar", "gotcha"), File("u", "3")});
  ExpectRun(
      "-xf a.tar",
      Processing("a.tar") + Failure("entry would replace a file that this run is using: a.tar", 60),
      60);
  EXPECT_EQ(Bytes("u"), "3");
}

TEST_F(MadeTar, WhatIsNoArchiveIsInvalid) {
  std::string wrong_sum = BuildTar({File("x", "1")});
  wrong_sum[0] = 'y';
  const std::string cases[] = {std::string(10240, '\0'),
                               "some text in a file\n",
                               "VUK 1.00" + std::string(600, 'x'),
                               "VUK 2.00XX" + std::string(600, 'x'),
                               wrong_sum,
                               BuildTar({File("x", "1")}).substr(0, 511),
                               "\x1F\x8B\x08" + std::string(600, 'z')};
  for (const std::string& bytes : cases) {
    Write("a.tar", bytes);
    for (const char* command : {"-tf", "-df", "-xf"})
      ExpectRun(command + std::string(" a.tar"), "MOLDEX: invalid archive a.tar\n", 40);
  }
}

TEST_F(MadeTar, DamageEndsTheArchiveWithAMessage) {
  const auto too_early = [](int at) {
    return "a.tar ends too early, in what begins at byte " + std::to_string(at);
  };
  const auto damaged = [](int at) {
    return "damaged header at byte " + std::to_string(at) + " of a.tar";
  };
  const std::string first = EncodeTarItem(File("x", "1"));
  const std::string next = EncodeTarItem(File("y", "1"));
  const std::string zeros(kTarBlock, '\0');
  const std::pair<std::string, std::string> cases[] = {
      {next.substr(0, 512), too_early(1024)},
      {next.substr(0, 700), too_early(1024)},
      {next.substr(0, 100), too_early(1024)},
      {std::string(512, 'x'), damaged(1024)},
      {EncodeTarItem(Sized(File("y", "1"), BinaryTarNumber(-1))), damaged(1024)},
      {EncodeTarItem(Sized(File("y", "1"), "0000000000z")), damaged(1024)},
      {EncodeTarItem(GnuLongItem("name")), too_early(2048)},
      {EncodeTarItem(PaxItem(PaxRecord("path", "name"))) + zeros + zeros, too_early(2048)},
      {EncodeTarItem(PaxItem("99 path=x\n")) + next, damaged(1024)},
      {EncodeTarItem(PaxItem(PaxRecord("size", "9223372036854775807"))) + next, damaged(1024)},
      {EncodeTarItem(GnuLongItem(std::string(65536, 'n'))) + next,
       "name or record of 65537 bytes is too long, at byte 1024 of a.tar"},
      {EncodeTarItem(PaxItem(PaxRecord("path", std::string(65537, 'n')))) + next,
       "name or record of 65549 bytes is too long, at byte 1024 of a.tar"},
      {EncodeTarItem(File("whole", std::string(600, 'w'))).substr(0, 812), too_early(1024)},
  };
  for (const auto& [behind, message] : cases) {
    Write("a.tar", first + behind);
    for (const char* command : {"-df a.tar", "-xf a.tar -R out"})
      ExpectRun(command, Processing("a.tar") + Failure(message, 40), 40);
    EXPECT_EQ(Bytes("out/x"), "1");
    ExpectBegins("-tf a.tar", Processing("a.tar") + "-rw-", 40);
  }
  EXPECT_EQ(Bytes("out/whole"), std::string(300, 'w')) << "what was there is kept";
  for (const std::string& end : {std::string(), zeros, zeros + next, zeros + zeros + "anything"}) {
    Write("a.tar", first + end);
    ExpectRun("-df a.tar", Processing("a.tar"), 0);
  }
}

TEST_F(MadeTar, AFailureEndsThisArchiveOnly) {
  Make({{"out/p", FileNode("keep")}});
  Archive({File("p/q/r", "1"), File("z", "2")});
  Write("b.tar", BuildTar({File("b", "3")}));
  const RunResult run = Run(Words{"-xf", "a.tar b.tar", "-R", "out"});
  EXPECT_TRUE(run.out.starts_with(Processing("a.tar") + "MOLDEX: can not create directory "));
  EXPECT_EQ(run.status, 40);
  EXPECT_EQ(Listing("out"), "b=3 p=keep");
}

}  // namespace
}  // namespace moldex::test
