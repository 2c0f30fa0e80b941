// kvl-media verify: its reports about whole media, parts of a media and each kind of flaw, and the
// bad calls of verify and seal.

#include <nlohmann/json.hpp>

#include "companion/program.h"
#include "companion/report/verify_report.h"
#include "companion/verify/media_verify.h"
#include "tests/companion/sealed_world.h"
#include "tests/support/call_filter.h"
#include "tests/support/system_faults.h"

namespace kvl::test {
namespace {

constexpr char kNoKey[] = "; not proven genuine: no key was given\n";

class VerifyTest : public testing::Test {
 protected:
  /// Makes a media, changes it, and verifies it. Compares the flaws in the report, and their number
  /// in its last line.
  void ExpectFlaws(const std::string& layout, const std::string& change, const std::string& flaws,
                   int status = 1) {
    SCOPED_TRACE(change);
    fs::remove_all(world_.Path("media"));
    world_.Make(layout);
    world_.Change(change);
    const Outcome seen = world_.Verify({"{media}"});
    const std::size_t last = seen.out.rfind('\n', seen.out.size() - 2) + 1;
    EXPECT_EQ(seen.out.substr(0, last), world_.Text(flaws));
    const auto count = std::count(flaws.begin(), flaws.end(), '\n');
    EXPECT_THAT(seen.out.substr(last), testing::StartsWith(std::to_string(count) + " problem"));
    EXPECT_EQ(seen.status, status);
    EXPECT_EQ(seen.err, "");
  }

  SealedWorld world_;
};

TEST_F(VerifyTest, CallsAMediaWholeInEveryLayout) {
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"single", "Whole: 1 volume, 12 files, <n> bytes"},
      {"flat", "Whole: 2 volumes, 15 files, <n> bytes"},
      {"sibling", "Whole: 2 volumes, 15 files, <n> bytes"},
      {"am", "Whole: 2 volumes, 17 files, <n> bytes"}};
  for (const auto& [layout, said] : rows) {
    SCOPED_TRACE(layout);
    world_.Make(layout);
    const auto before = DescribeTreeExactly(world_.Path("media"));
    for (const char* jobs : {"1", "2", "64"}) {
      world_.ExpectVerified({"{media}", "--jobs", jobs}, 0, said + kNoKey);
    }
    EXPECT_EQ(DescribeTreeExactly(world_.Path("media")), before);
    fs::remove_all(world_.Path("media"));
  }
}

TEST_F(VerifyTest, LooksAtTheVolumesGivenAndNamesTheOthers) {
  world_.Make("sibling");
  world_.ExpectVerified({"{media/2}", "{media/1}"}, 0,
                        std::string("Whole: 2 volumes, 15 files, <n> bytes") + kNoKey);
  world_.ExpectVerified(
      {"{media/2}"}, 4,
      std::string("Unharmed: volume 2 of 2, 3 files, <n> bytes; not looked at: volume 1") + kNoKey);
  world_.Change("move media/2 elsewhere");
  world_.ExpectVerified({"{media}", "{elsewhere}"}, 0,
                        std::string("Whole: 2 volumes, 15 files, <n> bytes") + kNoKey);
  world_.ExpectVerified({"{media}"}, 1, R"(missing       {media/2}
1 problem; read: 12 files, <n> bytes; not looked at: volume 2
)");
}

TEST_F(VerifyTest, NamesRangesOfVolumes) {
  world_.Change("dir payload/3; dir payload/4; dir payload/5; dir payload/6");
  world_.Make("am");
  world_.ExpectVerified({"{media/2}", "{media/4}", "{media/3}"}, 4,
                        std::string("Unharmed: volumes 2-4 of 6, 8 files, <n> bytes; "
                                    "not looked at: volumes 1, 5-6") +
                            kNoKey);
}

TEST_F(VerifyTest, NamesDamagedMissingAndUnlistedFiles) {
  ExpectFlaws("sibling", "file media/1/payload/1/a onE", "damaged       {media/1/payload/1/a}\n");
  ExpectFlaws("am", "file media/2/media/2/2.txt more; remove media/1/media/1/inst/volumes.txt",
              "missing       {media/1/media/1/inst/volumes.txt}\n"
              "damaged       {media/2/media/2/2.txt}\n");
  ExpectFlaws("flat", "file media/payload/2/a \\n; file media/payload/1/b/program",
              "damaged       {media/payload/1/b/program}\n"
              "damaged       {media/payload/2/a}\n");
  ExpectFlaws("single", "file media/new; file media/lost+found; file media/payload/x y",
              "not listed    {media/lost+found}\n"
              "not listed    {media/new}\n"
              "not listed    {media/payload/x}\n");
  ExpectFlaws("sibling", "move media/2/payload/2/\\xFFc media/2/payload/2/\\n",
              "not listed    {media/2/payload/2}/\\x0A\n"
              "missing       {media/2/payload/2}/\\xFFc\n");
  ExpectFlaws("sibling", "remove media/2/payload/2/empty; file media/beside; dir media/3",
              "not listed    {media/beside}\n"
              "missing       {media/3/media.manifest}\n"
              "missing       {media/2/payload/2/empty}\n");
}

TEST_F(VerifyTest, IgnoresTheLostAndFoundOfAFileSystem) {
  world_.Make("sibling");
  world_.Change("dir media/lost+found; file media/1/lost+found/lost x");
  world_.ExpectVerified(
      {"{media}"}, 0,
      "Whole: 2 volumes, 15 files, <n> bytes; not proven genuine: no key was given\n");
  world_.Change("dir media/1/payload/lost+found");
  world_.ExpectVerified({"{media}"}, 1,
                        "not listed    {media/1/payload/lost+found}\n"
                        "1 problem; read: 15 files, <n> bytes\n");
}

TEST_F(VerifyTest, TellsNamesApartThatSortBeforeAndBehindASlash) {
  world_.Change(
      "file payload/1/b! x; file payload/1/b-c x; dir payload/1/b/d; file payload/1/b0 x");
  ExpectFlaws(
      "single",
      "remove media/payload/1/b!; remove media/payload/1/b/d; file media/payload/1/b/e x; "
      "file media/payload/1/b- x; remove media/payload/1/b-c; file media/payload/1/b/program",
      "missing       {media/payload/1/b!}\n"
      "not listed    {media/payload/1/b-}\n"
      "missing       {media/payload/1/b-c}\n"
      "missing       {media/payload/1/b/d}\n"
      "not listed    {media/payload/1/b/e}\n"
      "damaged       {media/payload/1/b/program}\n");
}

TEST_F(VerifyTest, RefusesAListThatChangesWhileVerifyReadsIt) {
  world_.Make("single");
  const std::string path = world_.Path("media/1.sha256"), list = ReadFile(path);
  const std::string damaged =
      Replaced(list, DigestOf("one").Hex(), DigestOf("other contents").Hex());
  const std::string changed = "it changed while verify read it";
  const std::vector<std::string> rows = {"its digest differs from that in the manifest", changed,
                                         changed, changed};
  for (std::size_t moment = 0; moment < rows.size(); ++moment) {
    SCOPED_TRACE(moment);
    std::size_t opened = 0;
    const BeforeOpen change(path, [&] {
      if (opened++ == moment) WriteFile(path, damaged);
    });
    world_.ExpectVerified({"{media}"}, 1,
                          "wrong list    {media/1.sha256}: " + rows[moment] +
                              "\n1 problem; read: 0 files, <n> bytes; not looked at: volume 1\n");
    WriteFile(path, list);
  }
}

TEST_F(VerifyTest, NamesEntriesOfAnotherKind) {
  ExpectFlaws("single", "link media/1.txt payload; pipe media/media.db; dir media/media.xml",
              "wrong kind    {media/1.txt}: it is not a regular file\n"
              "wrong kind    {media/media.db}: it is not a regular file\n"
              "wrong kind    {media/media.xml}: it is not a regular file\n");
  ExpectFlaws("sibling", "remove media/2/payload; link media/2/payload ../1/payload",
              "wrong kind    {media/2/payload}: it is not a directory\n"
              "missing       {media/2/payload/2}\n"
              "missing       {media/2/payload/2/a}\n"
              "missing       {media/2/payload/2/empty}\n"
              "missing       {media/2/payload/2}/\\xFFc\n");
  ExpectFlaws("single", "pipe media/media.manifest",
              "wrong kind    {media/media.manifest}: it is not a regular file\n");
  ExpectFlaws("single", "move media/1.sha256 list; link media/1.sha256 ../list",
              "wrong kind    {media/1.sha256}: it is not a regular file\n");
  ExpectFlaws("sibling", "move media/2 2; link media/2 ../2",
              "wrong kind    {media/2}: it is not a directory\nmissing       {media/2}\n");
}

TEST_F(VerifyTest, NamesEntriesWithAnotherMode) {
  ExpectFlaws("single",
              "mode 755 media/payload/1/a; mode 644 media/StartTUI.sh; mode 777 media/inst; "
              "mode 600 media/media.db; mode 6755 media/StartGUI.sh; mode 750 media/payload; "
              "mode 666 media/media.xml; mode 444 media/1.txt; mode 555 media/payload/1/b/program",
              "wrong mode    {media/StartGUI.sh}: 6755 instead of 755\n"
              "wrong mode    {media/StartTUI.sh}: 644 instead of 755\n"
              "wrong mode    {media/inst}: 777 instead of 755\n"
              "wrong mode    {media/media.db}: 600 instead of 644\n"
              "wrong mode    {media/media.xml}: 666 instead of 644\n"
              "wrong mode    {media/payload}: 750 instead of 755\n"
              "wrong mode    {media/payload/1/a}: 755 instead of 644\n");
  ExpectFlaws("sibling", "mode 711 media/2/media.manifest; mode 655 media/2/2.sha256",
              "wrong mode    {media/2/2.sha256}: 655 instead of 644\n"
              "wrong mode    {media/2/media.manifest}: 711 instead of 644\n");
}

TEST_F(VerifyTest, NamesTheModesOfACarrierWithoutModesOnce) {
  world_.Make("sibling");
  struct Row {
    unsigned files, programs, directories;
    std::string first, second;
  };
  const std::string files = "all plain files have ", programs = ", all programs have ";
  const std::string directories = ", all directories have ";
  for (const Row& row :
       {Row{0755, 0755, 0755, files + "755 instead of 644" + programs + "755" + directories + "755",
            files + "755 instead of 644" + directories + "755"},
        Row{0600, 0700, 0700,
            files + "600 instead of 644" + programs + "700 instead of 755" + directories +
                "700 instead of 755",
            files + "600 instead of 644" + directories + "700 instead of 755"},
        Row{0444, 0555, 0555, "", ""}}) {
    for (const auto& entry : fs::recursive_directory_iterator(world_.Path("media"))) {
      const std::string path = entry.path();
      if (entry.is_directory()) {
        SetMode(path, row.directories);
      } else {
        const bool is_program = path.ends_with(".sh") || path.ends_with("program") ||
                                path.find("/bin/") != std::string::npos;
        SetMode(path, is_program ? row.programs : row.files);
      }
    }
    if (row.first.empty()) {
      world_.ExpectVerified(
          {"{media}"}, 0,
          "Whole: 2 volumes, 15 files, <n> bytes; not proven genuine: no key was given\n");
      continue;
    }
    world_.ExpectVerified({"{media}"}, 1,
                          "wrong mode    {media/1}: " + row.first + "\nwrong mode    {media/2}: " +
                              row.second + "\n2 problems; read: 15 files, <n> bytes\n");
  }
}

TEST_F(VerifyTest, NamesMissingAndWrongManifestsListsAndVolumes) {
  ExpectFlaws("sibling", "remove media/1/media.manifest",
              "missing       {media/1/media.manifest}\n");
  ExpectFlaws("flat", "remove media/media.manifest", "missing       {media/media.manifest}\n");
  ExpectFlaws(
      "single", "file media/media.manifest x",
      "bad manifest  {media/media.manifest}: line 1: the line feed at its end is missing\n");
  ExpectFlaws("sibling", "remove media/2/2.sha256", "missing       {media/2/2.sha256}\n");
  ExpectFlaws("flat", "remove media/2.sha256", "missing       {media/2.sha256}\n");
  ExpectFlaws("am", "file media/2/2.sha256 x",
              "wrong list    {media/2/2.sha256}: its digest differs from that in the manifest\n");
  ExpectFlaws("sibling", "move media/1 1; move media/2 media/1; move 1 media/2",
              "other volume  {media/1}: it holds volume 2\n"
              "other volume  {media/2}: it holds volume 1\n");
  ExpectFlaws("sibling", "file media/2/1.sha256 x", "not listed    {media/2/1.sha256}\n");
}

TEST_F(VerifyTest, NamesAVolumeOfAnotherRelease) {
  world_.Make("sibling", {}, "old");
  world_.Change("file payload/1/a new");
  world_.Make("sibling");
  world_.ExpectVerified(
      {"{media/1}", "{old/2}"}, 1,
      "other media   {old/2/media.manifest}: it differs from the manifest of {media/1}\n"
      "1 problem; read: 12 files, <n> bytes; not looked at: volume 2\n");
}

/// Replaces a text in the manifest of {media}.
void ChangeManifest(const SealedWorld& world, const std::string& what, const std::string& instead) {
  const std::string path = world.Path("media/media.manifest");
  std::string text = ReadFile(path);
  const std::size_t at = text.find(what);
  ASSERT_NE(at, std::string::npos);
  WriteFile(path, text.replace(at, what.size(), instead));
}

TEST_F(VerifyTest, ComparesTheManifestWithTheLists) {
  const std::vector<std::tuple<std::string, std::string, std::string>> rows = {
      {"tag T 1", "tag T 2",
       "other tag     {media/1.txt}: it is not a marker with the tag of the manifest\n"},
      {"volume 1 12", "volume 1 13",
       "wrong list    {media/1.sha256}: its files or programs are not those of the manifest\n"},
      {"volume 1 12 ", "volume 1 12 1",
       "bad manifest  {media/media.manifest}: its number of bytes differs from that of the "
       "files\n"},
      {"program payload/1/b/program", "program payload/1/b/programs",
       "wrong list    {media/1.sha256}: its files or programs are not those of the manifest\n"},
      {"program payload/1/b/program", "link payload/1/b/program\tx",
       "bad manifest  {media/media.manifest}: it and the lists name a path twice\n"},
      {"directory payload/1/b\n", "directory payload/1/b\ndirectory payload/1/c\n",
       "missing       {media/payload/1/c}\n"},
      {"end\n", "link l\tpayload/1/a\nend\n", "missing       {media/l}\n"}};
  for (const auto& [what, instead, said] : rows) {
    SCOPED_TRACE(instead);
    fs::remove_all(world_.Path("media"));
    world_.Make("single");
    ChangeManifest(world_, what, instead);
    EXPECT_THAT(world_.Verify({"{media}"}).out,
                testing::StartsWith(world_.Text(said) + "1 problem; read: "));
  }
}

TEST_F(VerifyTest, RefusesALinkThatTwoVolumesInOneDirectoryHave) {
  world_.Make("flat");
  ChangeManifest(world_, "\nvolume 2 ", "\nlink l\tpayload\nvolume 2 ");
  ChangeManifest(world_, "end\n", "link l\tpayload\nend\n");
  world_.Change("link media/l payload");
  EXPECT_THAT(world_.Verify({"{media}"}).out,
              testing::StartsWith(world_.Text(
                  "bad manifest  {media/media.manifest}: it and the lists name a path twice\n")));
}

TEST_F(VerifyTest, RefusesAnInvalidListWhoseDigestIsRight) {
  world_.Make("single");
  const std::string list = world_.Path("media/1.sha256");
  ChangeManifest(world_, DigestOf(ReadFile(list)).Hex(), DigestOf("x\n").Hex());
  WriteFile(list, "x\n");
  world_.ExpectVerified({"{media}"}, 1,
                        "wrong list    {media/1.sha256}: line 1: it does not begin with a digest\n"
                        "1 problem; read: 0 files, <n> bytes; not looked at: volume 1\n");
}

TEST_F(VerifyTest, NamesTheVolumeThatItCannotEnter) {
  world_.Make("sibling");
  for (const unsigned mode : {0U, 0444U, 0111U}) {
    SCOPED_TRACE(mode);
    SetMode(world_.Path("media/2"), mode);
    const Outcome seen = world_.Companion({"verify", "media"}, {}, GiveUpPermissions);
    EXPECT_EQ(Replaced(seen.out, ", [0-9]+ bytes", ""),
              world_.Text("unreadable    {media/2}: opendir - {media/2} - Permission denied\n"
                          "1 problem; read: 12 files; not looked at: volume 2\n"));
    EXPECT_EQ(seen.status, 3);
  }
  SetMode(world_.Path("media/2"), 0755);
}

TEST_F(VerifyTest, ComparesLinksByTheirTargets) {
  world_.Make("single");
  ChangeManifest(world_, "end\n", "link payload/l\t../1.txt\nend\n");
  world_.Change("link media/payload/l ../1.txt");
  world_.ExpectVerified({"{media}"}, 0,
                        std::string("Whole: 1 volume, 12 files, <n> bytes") + kNoKey);
  world_.Change("link media/payload/l \\n");
  world_.ExpectVerified({"{media}"}, 1,
                        "wrong link    {media/payload/l}: leads to \\x0A instead of ../1.txt\n"
                        "1 problem; read: 12 files, <n> bytes\n");
  world_.Change("remove media/payload/l; file media/payload/l ../1.txt");
  world_.ExpectVerified({"{media}"}, 1,
                        "wrong kind    {media/payload/l}: it is not a symbolic link\n"
                        "1 problem; read: 12 files, <n> bytes\n");
}

TEST_F(VerifyTest, NeverCallsFineWhatItCannotRead) {
  world_.Make("sibling");
  world_.Change("mode 0 media/1/payload/1/a; mode 0 media/2/payload");
  Outcome seen = world_.Companion({"verify", "media"}, {}, GiveUpPermissions);
  seen.out = Replaced(seen.out, ", [0-9]+ bytes?", ", <n> bytes");
  EXPECT_EQ(seen,
            (Outcome{3,
                     world_.Text("wrong mode    {media/1/payload/1/a}: 000 instead of 644\n"
                                 "unreadable    {media/1/payload/1/a}: Cannot read "
                                 "{media/1/payload/1/a} - Permission denied\n"
                                 "unreadable    {media/2/payload}: opendir - {media/2/payload} - "
                                 "Permission denied\n"
                                 "wrong mode    {media/2/payload}: 000 instead of 755\n"
                                 "4 problems; read: 13 files, <n> bytes\n"),
                     ""}));
  world_.Change("mode 755 media/2/payload");
  seen = RunIsolated([&] {
    FilterCalls({SYS_pread64}, SECCOMP_RET_ERRNO | EIO);
    return RunKvlMedia({"verify", world_.Path("media/1")});
  });
  EXPECT_EQ(seen, (Outcome{3,
                           world_.Text("unreadable    {media/1/media.manifest}: Cannot read "
                                       "{media/1/media.manifest} - Input/output error\n"
                                       "1 problem; read: 0 files, 0 bytes\n"),
                           ""}));
}

TEST_F(VerifyTest, NamesWhatIsMissingBesideAnUnreadableDirectory) {
  world_.Change("file payload/1/b-c x");
  world_.Make("single");
  world_.Change("remove media/payload/1/b-c; mode 0 media/payload/1/b");
  const Outcome seen = world_.Companion({"verify", "media"}, {}, GiveUpPermissions);
  SetMode(world_.Path("media/payload/1/b"), 0755);
  EXPECT_EQ(Replaced(seen.out, ", [0-9]+ bytes", ""),
            world_.Text("unreadable    {media/payload/1/b}: opendir - {media/payload/1/b} - "
                        "Permission denied\n"
                        "wrong mode    {media/payload/1/b}: 000 instead of 755\n"
                        "missing       {media/payload/1/b-c}\n"
                        "3 problems; read: 11 files\n"));
}

TEST_F(VerifyTest, WritesOneJsonObject) {
  world_.Make("sibling");
  world_.Change("file media/2/\\xFF");
  Outcome seen = world_.Verify({"{media/2}", "--json"});
  seen.out = Replaced(seen.out, "\"bytes\": [0-9]+", "\"bytes\": <n>");
  seen.out = Replaced(seen.out, world_.Path("media"), "media");
  EXPECT_EQ(seen, (Outcome{1, R"({
  "format": 1,
  "whole": false,
  "genuine": null,
  "tag": "T 1",
  "layout": "sibling",
  "volume_count": 2,
  "looked_at": [
    2
  ],
  "not_looked_at": [
    1
  ],
  "files": 3,
  "bytes": <n>,
  "findings": [
    {
      "code": "not-listed",
      "path": "media/2/\\xFF",
      "text": ""
    }
  ]
}
)",
                           ""}));
}

TEST_F(VerifyTest, AsksForOneVolumeAfterTheOtherInOnePlace) {
  world_.Make("sibling");
  world_.Make("sibling", {"--tag", "other"}, "other");
  world_.Change("dir drive; link media/1/payload/1/b/lost x");
  const fs::path drive = world_.Path("drive");
  const Lines discs = {"other/1", "media/2", "media/2", "media/1"};
  Lines asked;
  const auto ask = [&](const std::vector<std::size_t>& numbers, const std::string& why) {
    asked.push_back((numbers.empty() ? "any" : NamedVolumes(numbers)) + "; " + why);
    fs::remove_all(drive);
    fs::copy(world_.Path(asked.size() == 1 ? "media/2" : discs.at(asked.size())), drive,
             fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    return true;
  };
  VerifyRequest request;
  request.directories = {drive};
  const VerifyReport report = VerifyOneByOne(request, ask);
  EXPECT_THAT(asked, ElementsAre("any; this is not a volume of the media", "volume 1; ",
                                 "volume 1; this volume has been looked at already"));
  EXPECT_THAT(report.looked_at, ElementsAre(1, 2));
  EXPECT_EQ(Replaced(VerifyText(report), ", [0-9]+ bytes", ""),
            world_.Text("not listed    {drive}/payload/1/b/lost\n1 problem; read: 15 files\n"));
}

TEST_F(VerifyTest, ReportsWhatItHasReadWhenNoOtherVolumeComes) {
  world_.Make("sibling");
  world_.Change("file twice \\n; file quit q\\nx; file empty");
  const std::string question =
      "Not looked at: volume 1. Insert a volume and press Enter, or press q and Enter to end: \n";
  const std::string again = "kvl-media: this volume has been looked at already: media/2\n";
  for (const auto& [input, asked] : std::vector<std::pair<std::string, std::string>>{
           {"empty", question}, {"quit", question}, {"twice", question + again + question}}) {
    SCOPED_TRACE(input);
    Outcome seen = world_.Companion({"verify", "--wait", "media/2"}, {}, [&, &input = input] {
      ::dup2(::open(world_.Path(input).c_str(), O_RDONLY), STDIN_FILENO);
    });
    seen.out = Replaced(seen.out, ", [0-9]+ bytes", ", <n> bytes");
    EXPECT_EQ(seen, (Outcome{4,
                             "Unharmed: volume 2 of 2, 3 files, <n> bytes; not looked at: volume "
                             "1; not proven genuine: no key was given\n",
                             asked}));
  }
}

TEST_F(VerifyTest, SaysWhatIsMissingWhenNoVolumeComesAtAll) {
  world_.Change("dir drive; file empty");
  const Outcome seen = world_.Companion({"verify", "--wait", "drive"}, {}, [&] {
    ::dup2(::open(world_.Path("empty").c_str(), O_RDONLY), STDIN_FILENO);
  });
  EXPECT_EQ(seen, (Outcome{1,
                           world_.Text("missing       {drive/media.manifest}\n"
                                       "1 problem; read: 0 files, 0 bytes\n"),
                           "kvl-media: this is not a volume of the media: drive\n"
                           "Insert a volume and press Enter, or press q and Enter to end: \n"}));
}

TEST_F(VerifyTest, SaysWhatIsWrongWithADirectoryWithoutAMedia) {
  world_.Change("dir empty; dir holder/1; file holder/x; file other/1");
  world_.ExpectVerified({"{empty}"}, 1,
                        "missing       {empty/media.manifest}\n"
                        "1 problem; read: 0 files, <n> bytes\n");
  world_.ExpectVerified({"{holder}"}, 1,
                        "missing       {holder/1/media.manifest}\n"
                        "1 problem; read: 0 files, <n> bytes\n");
  world_.ExpectVerified({"{other}"}, 1,
                        "wrong kind    {other/1}: it is not a directory\n"
                        "1 problem; read: 0 files, <n> bytes\n");
}

TEST_F(VerifyTest, RefusesBadCalls) {
  world_.Change("dir media; file key x");
  WriteFile(world_.Path("endless"), std::string(20'000, 'x'));
  const std::string no_directory = "DIR is not a directory: ";
  const std::string name_one =
      "; name the directory of a volume, or the one that holds volumes as 1, 2, ...";
  const std::string no_key = "--key is not a public key of minisign: ";
  const std::string give_one =
      "; give the public key file that minisign -G wrote, or its second line";
  const std::vector<std::pair<Lines, std::string>> rows = {
      {{}, "DIR is required (see --help)"},
      {{"{no}"}, no_directory + "{no}" + name_one},
      {{"{media}", "{key}"}, no_directory + "{key}" + name_one},
      {{"{media}", "--key", "{key}"}, no_key + "{key}" + give_one},
      {{"{media}", "--key", "{endless}"}, no_key + "{endless}" + give_one},
      {{"{media}", "--key", ""}, "--key: must not be empty (see --help)"},
      {{"{media}", "--key", "{no}"}, "Cannot read {no} - No such file or directory"},
      {{"{media}", "--jobs", "0"}, "--jobs: Value 0 not in range 1 to 64 (see --help)"},
      {{"{media}", "{media}", "--wait"},
       "--wait takes one DIR only; name the directory that all volumes come into"},
      {{"{media}", "--jobs", "65"}, "--jobs: Value 65 not in range 1 to 64 (see --help)"}};
  for (const auto& [arguments, line] : rows) {
    world_.ExpectRefused(world_.Verify(arguments), world_.Text(line));
  }
  world_.ExpectRefused(world_.Companion({"seal", "media", "--key", "no"}),
                       "the key is missing or not a regular file: no; name a secret key file of "
                       "minisign with --key");
  world_.ExpectRefused(world_.Companion({"seal", "media", "--key", ""}),
                       "--key: must not be empty (see --help)");
  world_.ExpectRefused(world_.Companion({"seal", "no", "--key", "key"}),
                       no_directory + "no" + name_one);
  world_.ExpectRefused(world_.Companion({"seal", "media", "--key", "key"}, {{"PATH", "/nowhere"}}),
                       "the program that signs is not on PATH: minisign; install it");
  world_.ExpectRefused(
      world_.Companion({"verify", "media"}, {},
                       [] {
                         ::close(STDOUT_FILENO);
                         ::open("/dev/full", O_WRONLY);
                       }),
      "the report cannot be written: standard output; check the file or program that "
      "receives it");
}

TEST(VerifyJson, CallsNoMediaWithAFlawGenuine) {
  VerifyReport report;
  report.looked_at = {1};
  report.has_key = true;
  EXPECT_EQ(nlohmann::json::parse(VerifyJson(report))["genuine"], true);
  report.flaws.push_back({FlawKind::kMissing, "file"});
  EXPECT_EQ(nlohmann::json::parse(VerifyJson(report))["genuine"], false);
}

}  // namespace
}  // namespace kvl::test
