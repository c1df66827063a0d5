// Archives of old formats that no writer at hand makes, odd and hostile ones, and files that are no
// archives. README.md in the folder archives/ describes them.
#include "program/program_test.h"

namespace moldex::test {
namespace {

class RecordedTar : public ProgramTest {
 protected:
  static std::string Recorded(const std::string& name) {
    return ReadFile(std::filesystem::path(MOLDEX_TAR_ARCHIVES) / (name + ".tar"));
  }
  void Take(const std::string& name) const { Write("a.tar", Recorded(name)); }
  // Extracts the archive into "out", which gives these messages and these files.
  void ExpectExtraction(const std::string& name, const std::string& out, int status,
                        const std::string& listing) const {
    Take(name);
    ExpectRun("-xf a.tar -R out", Processing("a.tar") + out, status);
    EXPECT_EQ(Listing("out"), listing);
  }
};

TEST_F(RecordedTar, TakesNamesFromWhereverTheyStand) {
  ExpectExtraction("names", "", 0,
                   "a=8 abs/o=9 from/pax=4 g=2 h/i/ l=6 long=5 m=7 " + std::string(100, 'n') +
                       "=3 p=0 " + std::string(155, 'p') + "/f=1 q=a r=b s=c");
  ExpectExtraction("signed", "", 0, Listing("out") + " \xC3\xA4\xC3\xB6\xC3\xBC=1");
}

TEST_F(RecordedTar, ListsSizesAndTimesOfEveryNotation) {
  const char* const numbers[] = {
      "  8589934591    01 Jan 1970 00:00", " 68719476735    10 Jan 2004 13:37",
      "  8589934592    01 Jan 1970 00:00", "1099511627776    07 Feb 2106 06:28",
      "           7    07 Feb 2106 06:28", "9007199254740993    07 Jan 2005 13:05",
      "           0    01 Jan 1970 00:00", "           0    02 Jan 1970 00:00"};
  for (const std::string number : {"0", "1", "2", "3", "4", "5", "6", "7"}) {
    Take("number" + number);
    ExpectBegins("-tf a.tar",
                 Processing("a.tar") + "-rw-------" + numbers[std::stoi(number)] + " x\n",
                 number < "6" ? 40 : 0);  // the data are missing, or there are none
  }
  Take("dates");
  const std::string size = "-rw-------           0    ";
  ExpectRun("-tf a.tar",
            Processing("a.tar") + size + "02 Jan 1970 00:00 x\n" + size + "01 Jan 1970 00:00 y\n" +
                size + "02 Jan 1970 00:00 z\n" + size + "07 Jan 2005 13:05 end\n",
            0);
}

TEST_F(RecordedTar, NeverLeavesTheTarget) {
  Write("beside", "untouched");
  std::string expected;
  for (const std::string name : {"../beside", "d/../../beside", "../beside", "..", "d/..",
                                 "../beside", "../beside", "../../beside"})
    expected += Failure("name leaves the target directory: " + name, 55);
  expected += Failure("symbolic link left out: d -> ..", 40);
  ExpectExtraction("climbs", expected, 40, "d/beside=7 last=8");
  ExpectRun("-xf a.tar -R out -P", Processing("a.tar") + expected, 40);
  EXPECT_EQ(Bytes("beside"), "untouched");
  // Where no directory is given, absolute names are not taken as such.
  Take("absolute");
  ExpectRun("-xf a.tar", Processing("a.tar"), 0);
  EXPECT_EQ(Bytes("tmp/moldex-absolute/x"), "1");
  EXPECT_FALSE(std::filesystem::exists("/tmp/moldex-absolute"));
}

TEST_F(RecordedTar, LeavesOutWhatItCannotMake) {
  std::string expected;
  for (const char* message :
       {"sparse file left out: s", "device left out: c", "device left out: b", "FIFO left out: p",
        "hard link left out: h -> f", "hard link left out: h -> g", "hard link left out: h -> x",
        "symbolic link left out: l -> far", "symbolic link left out: m -> pax",
        "entry of unknown kind left out: Z", "sparse file left out: real",
        "file named like a directory left out: .", "file named like a directory left out: ./z/."})
    expected += Failure(message, 40);
  ExpectExtraction("left_out", expected, 40, "D/ e=2 f=1");
  ExpectRun("-xvf a.tar -R out", Processing("a.tar") + expected + "x D\nx f\nx e\n", 40);
  ExpectRun("-df a.tar", Processing("a.tar"), 0);
  const std::string listing = Run("-tf a.tar").out;
  EXPECT_NE(listing.find("        4095    07 Jan 2005 13:05 s\n"), std::string::npos) << listing;
  EXPECT_NE(listing.find("          99    07 Jan 2005 13:05 real\n"), std::string::npos);
}

TEST_F(RecordedTar, ChoosesAndNamesByItsOwnOptions) {
  Write("list", "d/x\n");
  Take("choice");
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
  Take("colons");
  ExpectRun("-xvf a.tar -flat -R flat", Processing("a.tar") + "x a:z\nx d\nx c:x\n", 0);
  EXPECT_EQ(Below("flat").size(), 3u);
}

TEST_F(RecordedTar, RestoresPermissionsAsEverywhere) {
  Take("modes");
  for (int run = 0; run < 2; ++run)  // the second one over what is there
    ExpectRun("-xf a.tar -R out", Processing("a.tar"), 0, User::kNobody);
  EXPECT_EQ(Below("out"), AsExtracted({{"d", DirectoryNode(0555)},
                                       {"d/s", FileNode("1", 0755)},
                                       {"d/e", DirectoryNode(0500)},
                                       {"d/e/f", FileNode("2")}}));
  ExpectRun("-xf a.tar -R h -h", Processing("a.tar"), 0);
  EXPECT_NE(Below("h").at("d").mode, 0555u);
}

TEST_F(RecordedTar, LeavesTheTargetItselfAsItIs) {
  using std::filesystem::perms;
  Make({{"out", DirectoryNode()}});
  permissions(Path("out"), perms::all | perms::sticky_bit);  // that of another user, open to all
  const perms before = std::filesystem::status(Path("out")).permissions();
  Take("target");
  Archive({DirectoryEntry(".", 040711), DirectoryEntry("x/.", 040711)});
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

TEST_F(RecordedTar, StandsInAListOfArchives) {
  Archive({FileEntry("q", "1")});
  Take("one");
  RunResult run = Run(Words{"-xf", "a.qel,a.tar,a.qel", "-R", "out"});
  EXPECT_EQ(run.out,
            Processing("a.qel") + Extracted(1) + Processing("a.tar") + Processing("a.qel"));
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(Below("out").size(), 2u);
  run = Run(Words{"-tsf", "a.qel,a.tar"});
  EXPECT_EQ(run.out, Processing("a.qel") + "-rw-------           1    07 Jan 2005 13:05 q\n" +
                         Processing("a.tar") + "-rw-------           1    07 Jan 2005 13:05 t\n");
  Take("gotcha");
  ExpectRun(
      "-xf a.tar",
      Processing("a.tar") + Failure("entry would replace a file that this run is using: a.tar", 60),
      60);
  EXPECT_EQ(Bytes("u"), "3");
  // A failure ends this archive only.
  Make({{"out/p", FileNode("keep")}});
  Take("below_a_file");
  Write("b.tar", Recorded("one"));
  run = Run(Words{"-xf", "a.tar b.tar", "-R", "out"});
  EXPECT_TRUE(run.out.starts_with(Processing("a.tar") + "MOLDEX: can not create directory "));
  EXPECT_EQ(run.status, 40);
  EXPECT_EQ(Listing("out"), "p=keep q=1 t=2");
}

TEST_F(RecordedTar, WhatIsNoArchiveIsInvalid) {
  std::string wrong_sum = Recorded("one");
  wrong_sum[0] = 'y';
  QelEntry strange = DirectoryEntry("s");
  strange.type = "XX";
  for (const std::string& bytes :
       {std::string(10240, '\0'), std::string("VUK 2.01"), std::string("VUK_2.00"),
        std::string("vuk 2.00"), BuildArchive({strange}), "VUK 1.00" + std::string(600, 'x'),
        wrong_sum, Recorded("one").substr(0, 511), "\x1F\x8B\x08" + std::string(600, 'z')}) {
    Write("a.tar", bytes);
    for (const char* command : {"-tf", "-df", "-xf"})
      ExpectRun(command + std::string(" a.tar"), "MOLDEX: invalid archive a.tar\n", 40);
  }
}

TEST_F(RecordedTar, DamageEndsTheArchiveWithAMessage) {
  const std::string early = "a.tar ends too early, in what begins at byte ";
  const std::string damaged = "damaged header at byte 1024 of a.tar";
  const std::pair<const char*, std::string> cases[] = {
      {"cut_512", early + "1024"},
      {"cut_700", early + "1024"},
      {"cut_100", early + "1024"},
      {"text", damaged},
      {"size_negative", damaged},
      {"size_letter", damaged},
      {"name_alone", early + "2048"},
      {"record_alone", early + "2048"},
      {"record_length", damaged},
      {"record_size", damaged},
      {"name_long", "name or record of 65537 bytes is too long, at byte 1024 of a.tar"},
      {"record_long", "name or record of 65549 bytes is too long, at byte 1024 of a.tar"},
      {"data", early + "1024"}};
  for (const auto& [name, message] : cases) {
    Take(std::string("damage_") + name);
    for (const char* command : {"-df a.tar", "-xf a.tar -R out"})
      ExpectRun(command, Processing("a.tar") + Failure(message, 40), 40);
    EXPECT_EQ(Bytes("out/x"), "1");
    ExpectBegins("-tf a.tar", Processing("a.tar") + "-rw-", 40);
  }
  EXPECT_EQ(Bytes("out/whole"), std::string(300, 'w')) << "what was there is kept";
  for (const char* end : {"none", "one", "between", "more"}) {
    Take(std::string("damage_end_") + end);
    ExpectRun("-df a.tar", Processing("a.tar"), 0);
  }
}

}  // namespace
}  // namespace moldex::test
