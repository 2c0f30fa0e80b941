// kvl-media verify and seal: what they say of a media that is whole, of parts of it, of each kind of
// flaw, and what they refuse.

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
  /// Makes the media, changes it, and compares what is said of it; its last line is only the beginning.
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

TEST_F(VerifyTest, NamesWhatHasChangedInFiles) {
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

TEST_F(VerifyTest, LeavesTheLostAndFoundOfAFileSystemAlone) {
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

TEST_F(VerifyTest, TrustsNoListThatChangesWhileItIsRead) {
  world_.Make("single");
  const std::string path = world_.Path("media/1.sha256"), list = ReadFile(path);
  const std::string damaged =
      Replaced(list, DigestOf("one").Hex(), DigestOf("other contents").Hex());
  const std::vector<std::string> rows = {"not the one that the manifest is about",
                                         "changed while it was read", "changed while it was read",
                                         "changed while it was read"};
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

TEST_F(VerifyTest, NamesWhatIsOfAnotherKind) {
  ExpectFlaws("single", "link media/1.txt payload; pipe media/media.db; dir media/media.xml",
              "wrong kind    {media/1.txt}: no regular file\n"
              "wrong kind    {media/media.db}: no regular file\n"
              "wrong kind    {media/media.xml}: no regular file\n");
  ExpectFlaws("sibling", "remove media/2/payload; link media/2/payload ../1/payload",
              "wrong kind    {media/2/payload}: no directory\n"
              "missing       {media/2/payload/2}\n"
              "missing       {media/2/payload/2/a}\n"
              "missing       {media/2/payload/2/empty}\n"
              "missing       {media/2/payload/2}/\\xFFc\n");
  ExpectFlaws("single", "pipe media/media.manifest",
              "wrong kind    {media/media.manifest}: no regular file\n");
  ExpectFlaws("single", "move media/1.sha256 list; link media/1.sha256 ../list",
              "wrong kind    {media/1.sha256}: no regular file\n");
  ExpectFlaws("sibling", "move media/2 2; link media/2 ../2",
              "wrong kind    {media/2}: no directory\nmissing       {media/2}\n");
}

TEST_F(VerifyTest, NamesWhatIsOfAnotherMode) {
  ExpectFlaws("single",
              "mode 755 media/payload/1/a; mode 644 media/StartTUI.sh; mode 777 media/inst; "
              "mode 600 media/media.db; mode 6755 media/StartGUI.sh; mode 750 media/payload; "
              "mode 666 media/media.xml; mode 444 media/1.txt; mode 555 media/payload/1/b/program",
              "wrong mode    {media/StartGUI.sh}: 6755 in place of 755\n"
              "wrong mode    {media/StartTUI.sh}: 644 in place of 755\n"
              "wrong mode    {media/inst}: 777 in place of 755\n"
              "wrong mode    {media/media.db}: 600 in place of 644\n"
              "wrong mode    {media/media.xml}: 666 in place of 644\n"
              "wrong mode    {media/payload}: 750 in place of 755\n"
              "wrong mode    {media/payload/1/a}: 755 in place of 644\n");
  ExpectFlaws("sibling", "mode 711 media/2/media.manifest; mode 655 media/2/2.sha256",
              "wrong mode    {media/2/2.sha256}: 655 in place of 644\n"
              "wrong mode    {media/2/media.manifest}: 711 in place of 644\n");
}

TEST_F(VerifyTest, NamesTheModesOfACarrierThatKeepsNoneOnce) {
  world_.Make("sibling");
  struct Row {
    unsigned files, programs, directories;
    std::string first, second;
  };
  const std::string all = "here all plain files have mode ";
  for (const Row& row :
       {Row{0755, 0755, 0755, all + "755, programs have mode 755, directories have mode 755",
            all + "755, directories have mode 755"},
        Row{0600, 0700, 0700, all + "600, programs have mode 700, directories have mode 700",
            all + "600, directories have mode 700"},
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

TEST_F(VerifyTest, NamesWhatTheMediaSaysOfItselfAndDoesNotFit) {
  ExpectFlaws("sibling", "remove media/1/media.manifest",
              "missing       {media/1/media.manifest}\n");
  ExpectFlaws("flat", "remove media/media.manifest", "missing       {media/media.manifest}\n");
  ExpectFlaws("single", "file media/media.manifest x",
              "bad manifest  {media/media.manifest}: line 1: no line feed at its end\n");
  ExpectFlaws("sibling", "remove media/2/2.sha256", "missing       {media/2/2.sha256}\n");
  ExpectFlaws("flat", "remove media/2.sha256", "missing       {media/2.sha256}\n");
  ExpectFlaws("am", "file media/2/2.sha256 x",
              "wrong list    {media/2/2.sha256}: not the one that the manifest is about\n");
  ExpectFlaws("sibling", "move media/1 1; move media/2 media/1; move 1 media/2",
              "other volume  {media/1}: volume 2\nother volume  {media/2}: volume 1\n");
  ExpectFlaws("sibling", "file media/2/1.sha256 x", "not listed    {media/2/1.sha256}\n");
}

TEST_F(VerifyTest, TellsAVolumeOfAnotherMediaOrReleaseMixedIn) {
  world_.Make("sibling", {}, "old");
  world_.Change("file payload/1/a new");
  world_.Make("sibling");
  world_.ExpectVerified({"{media/1}", "{old/2}"}, 1,
                        "other media   {old/2/media.manifest}: not the manifest of {media/1}\n"
                        "1 problem; read: 12 files, <n> bytes; not looked at: volume 2\n");
}

/// The manifest of {media} with a replacement, and all that vouches for it.
void ChangeManifest(const SealedWorld& world, const std::string& what, const std::string& instead) {
  const std::string path = world.Path("media/media.manifest");
  std::string text = ReadFile(path);
  const std::size_t at = text.find(what);
  ASSERT_NE(at, std::string::npos);
  WriteFile(path, text.replace(at, what.size(), instead));
}

TEST_F(VerifyTest, HoldsTheManifestAgainstWhatTheListsVouchFor) {
  const std::vector<std::tuple<std::string, std::string, std::string>> rows = {
      {"tag T 1", "tag T 2",
       "other tag     {media/1.txt}: not a marker with the tag of the manifest\n"},
      {"volume 1 12", "volume 1 13", "wrong list    {media/1.sha256}: does not fit the manifest\n"},
      {"volume 1 12 ", "volume 1 12 1",
       "bad manifest  {media/media.manifest}: the number of bytes is not that of the files\n"},
      {"program payload/1/b/program", "program payload/1/b/programs",
       "wrong list    {media/1.sha256}: does not fit the manifest\n"},
      {"program payload/1/b/program", "link payload/1/b/program\tx",
       "bad manifest  {media/media.manifest}: a path of a list, too\n"},
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

TEST_F(VerifyTest, RefusesALinkThatTwoVolumesOfOneDirectoryHave) {
  world_.Make("flat");
  ChangeManifest(world_, "\nvolume 2 ", "\nlink l\tpayload\nvolume 2 ");
  ChangeManifest(world_, "end\n", "link l\tpayload\nend\n");
  world_.Change("link media/l payload");
  EXPECT_THAT(world_.Verify({"{media}"}).out,
              testing::StartsWith(
                  world_.Text("bad manifest  {media/media.manifest}: a path of a list, too\n")));
}

TEST_F(VerifyTest, RefusesAListThatTheManifestVouchesForAndIsNone) {
  world_.Make("single");
  const std::string list = world_.Path("media/1.sha256");
  ChangeManifest(world_, DigestOf(ReadFile(list)).Hex(), DigestOf("x\n").Hex());
  WriteFile(list, "x\n");
  world_.ExpectVerified({"{media}"}, 1,
                        "wrong list    {media/1.sha256}: line 1: no digest\n"
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

TEST_F(VerifyTest, ComparesLinksByWhatTheyHold) {
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
                        "wrong kind    {media/payload/l}: no symbolic link\n"
                        "1 problem; read: 12 files, <n> bytes\n");
}

TEST_F(VerifyTest, NeverCallsFineWhatItCannotRead) {
  world_.Make("sibling");
  world_.Change("mode 0 media/1/payload/1/a; mode 0 media/2/payload");
  Outcome seen = world_.Companion({"verify", "media"}, {}, GiveUpPermissions);
  seen.out = Replaced(seen.out, ", [0-9]+ bytes?", ", <n> bytes");
  EXPECT_EQ(seen,
            (Outcome{3,
                     world_.Text("wrong mode    {media/1/payload/1/a}: 000 in place of 644\n"
                                 "unreadable    {media/1/payload/1/a}: Cannot read "
                                 "{media/1/payload/1/a} - Permission denied\n"
                                 "unreadable    {media/2/payload}: opendir - {media/2/payload} - "
                                 "Permission denied\n"
                                 "wrong mode    {media/2/payload}: 000 in place of 755\n"
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

TEST_F(VerifyTest, NamesWhatIsMissingBesideADirectoryThatItCannotRead) {
  world_.Change("file payload/1/b-c x");
  world_.Make("single");
  world_.Change("remove media/payload/1/b-c; mode 0 media/payload/1/b");
  const Outcome seen = world_.Companion({"verify", "media"}, {}, GiveUpPermissions);
  SetMode(world_.Path("media/payload/1/b"), 0755);
  EXPECT_EQ(Replaced(seen.out, ", [0-9]+ bytes", ""),
            world_.Text("unreadable    {media/payload/1/b}: opendir - {media/payload/1/b} - "
                        "Permission denied\n"
                        "wrong mode    {media/payload/1/b}: 000 in place of 755\n"
                        "missing       {media/payload/1/b-c}\n"
                        "3 problems; read: 11 files\n"));
}

TEST_F(VerifyTest, WritesOneObjectForPrograms) {
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
  EXPECT_THAT(asked, ElementsAre("any; no volume of this media", "volume 1; ",
                                 "volume 1; this volume has been looked at"));
  EXPECT_THAT(report.looked_at, ElementsAre(1, 2));
  EXPECT_EQ(Replaced(VerifyText(report), ", [0-9]+ bytes", ""),
            world_.Text("not listed    {drive}/payload/1/b/lost\n1 problem; read: 15 files\n"));
}

TEST_F(VerifyTest, EndsWithWhatItHasSeenWhenThereIsNoOtherVolume) {
  world_.Make("sibling");
  world_.Change("file twice \\n; file quit q\\nx; file empty");
  const std::string question =
      "Not looked at: volume 1. Insert a volume and press Enter, or q and Enter to end: \n";
  const std::string again = "kvl-media: media/2: this volume has been looked at\n";
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
                           "kvl-media: drive: no volume of this media\n"
                           "Insert a volume and press Enter, or q and Enter to end: \n"}));
}

TEST_F(VerifyTest, SaysThatNothingIsThere) {
  world_.Change("dir empty; dir holder/1; file holder/x; file other/1");
  world_.ExpectVerified({"{empty}"}, 1,
                        "missing       {empty/media.manifest}\n"
                        "1 problem; read: 0 files, <n> bytes\n");
  world_.ExpectVerified({"{holder}"}, 1,
                        "missing       {holder/1/media.manifest}\n"
                        "1 problem; read: 0 files, <n> bytes\n");
  world_.ExpectVerified({"{other}"}, 1,
                        "wrong kind    {other/1}: no directory\n"
                        "1 problem; read: 0 files, <n> bytes\n");
}

TEST_F(VerifyTest, RefusesBadCalls) {
  world_.Change("dir media; file key x");
  WriteFile(world_.Path("endless"), std::string(20'000, 'x'));
  const std::vector<std::pair<Lines, std::string>> rows = {
      {{}, "DIR is required (see --help)"},
      {{"{no}"}, "not a directory: {no}"},
      {{"{media}", "{key}"}, "not a directory: {key}"},
      {{"{media}", "--key", "{key}"}, "--key: no public key of minisign: {key}"},
      {{"{media}", "--key", "{endless}"}, "--key: no public key of minisign: {endless}"},
      {{"{media}", "--key", ""}, "--key: must not be empty (see --help)"},
      {{"{media}", "--key", "{no}"}, "Cannot read {no} - No such file or directory"},
      {{"{media}", "--jobs", "0"}, "--jobs: Value 0 not in range 1 to 64 (see --help)"},
      {{"{media}", "{media}", "--wait"}, "--wait: more than one DIR"},
      {{"{media}", "--jobs", "65"}, "--jobs: Value 65 not in range 1 to 64 (see --help)"}};
  for (const auto& [arguments, line] : rows) {
    world_.ExpectRefused(world_.Verify(arguments), world_.Text(line));
  }
  world_.ExpectRefused(world_.Companion({"seal", "media", "--key", "no"}),
                       "the key is not there: no");
  world_.ExpectRefused(world_.Companion({"seal", "media", "--key", ""}),
                       "--key: must not be empty (see --help)");
  world_.ExpectRefused(world_.Companion({"seal", "no", "--key", "key"}), "not a directory: no");
  world_.ExpectRefused(world_.Companion({"seal", "media", "--key", "key"}, {{"PATH", "/nowhere"}}),
                       "minisign is needed to sign, and is not there");
  world_.ExpectRefused(world_.Companion({"verify", "media"}, {},
                                        [] {
                                          ::close(STDOUT_FILENO);
                                          ::open("/dev/full", O_WRONLY);
                                        }),
                       "the report cannot be written");
}

TEST(VerifyJson, CallsNothingGenuineThatHasAFlaw) {
  VerifyReport report;
  report.looked_at = {1};
  report.has_key = true;
  EXPECT_EQ(nlohmann::json::parse(VerifyJson(report))["genuine"], true);
  report.flaws.push_back({FlawKind::kMissing, "file"});
  EXPECT_EQ(nlohmann::json::parse(VerifyJson(report))["genuine"], false);
}

}  // namespace
}  // namespace kvl::test
