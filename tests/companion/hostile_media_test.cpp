// kvl-media check and verify on a media that tries to mislead the user, to keep a reader busy, or
// to use up memory. Both end, and neither calls the media fine.
#include "tests/companion/sealed_world.h"
#include "tests/support/system_faults.h"

namespace kvl::test {
namespace {

constexpr std::size_t kNameLength = 200;

/// Makes nested directories with long names.
void MakeDeep(const std::string& top, int levels) {
  const std::string name(kNameLength, 'd');
  int here = ::open(top.c_str(), O_PATH | O_CLOEXEC);
  for (int i = 0; i < levels; ++i) {
    ::mkdirat(here, name.c_str(), 0755);
    const int next = ::openat(here, name.c_str(), O_PATH | O_CLOEXEC);
    ::close(here);
    here = next;
  }
  ::close(here);
}

/// Returns the lines of the findings without their remedies.
std::string Findings(const std::string& report) {
  std::istringstream stream(report);
  std::string found;
  for (std::string line; std::getline(stream, line);) {
    if (line.starts_with("warning: ") || line.starts_with("error: ")) {
      found += line.substr(0, line.find("; ")) + "\n";
    }
  }
  return found;
}

std::string WithoutLastLine(const std::string& report) {
  return report.substr(0, report.rfind('\n', report.size() - 2) + 1);
}

class HostileMedia : public testing::Test {
 protected:
  HostileMedia() { world_.Make("sibling"); }

  void ExpectFound(const std::string& check, const std::string& verify, int verify_status = 1,
                   const std::function<void()>& before = {}) const {
    const Outcome checked = world_.Companion({"check", "media/1"}, {{"TMPDIR", "/tmp"}}, before);
    EXPECT_EQ((Outcome{checked.status, Findings(checked.out), checked.err}),
              (Outcome{1, world_.Text(check), ""}));
    const Outcome verified = world_.Companion({"verify", "media"}, {}, before);
    EXPECT_EQ((Outcome{verified.status, WithoutLastLine(verified.out), verified.err}),
              (Outcome{verify_status, world_.Text(verify), ""}));
  }

  SealedWorld world_;
};

TEST_F(HostileMedia, IsNotFineWithLinksInACircle) {
  world_.Change(
      "link media/1/payload/1/x y; link media/1/payload/1/y x; link media/2/up ..; "
      "dir media/2/b/c; link media/2/0 b/c; link media/2/b/c/l ..");
  ExpectFound(
      "warning: this link leads round in a circle or through too many other links: "
      "{media/1/payload/1/x}\n"
      "warning: this link leads round in a circle or through too many other links: "
      "{media/1/payload/1/y}\n"
      "warning: this link leads round in a circle: {media/2/b/c/l}\n",
      "not listed    {media/1/payload/1/x}\n"
      "not listed    {media/1/payload/1/y}\n"
      "not listed    {media/2/0}\n"
      "not listed    {media/2/b}\n"
      "not listed    {media/2/up}\n");
}

TEST_F(HostileMedia, IsNotFineWithPipes) {
  world_.Change("pipe media/1/pipe; pipe media/2/2.txt; pipe media/1/payload/1/a");
  ExpectFound(
      "warning: the marker of volume 2 cannot be read: {media/2/2.txt}\n"
      "warning: a pipe cannot be copied: {media/1/pipe}\n"
      "warning: a pipe cannot be copied: {media/1/payload/1/a}\n",
      "wrong kind    {media/1/payload/1/a}: it is not a regular file\n"
      "not listed    {media/1/pipe}\n"
      "wrong kind    {media/2/2.txt}: it is not a regular file\n");
}

TEST_F(HostileMedia, IsNotFineWithSockets) {
  world_.Change("socket media/1/socket; socket media/2/2.txt; socket media/1/StartTUI.sh");
  ExpectFound(
      "error: neither --os nor KVL_OS names a system, and the start script is missing or does not "
      "name one: {media/1/StartTUI.sh}\n"
      "warning: the system cannot read this entry (No such device or address): {media/2/2.txt}\n"
      "warning: a socket cannot be copied: {media/1/StartTUI.sh}\n"
      "warning: a socket cannot be copied: {media/1/socket}\n",
      "wrong kind    {media/1/StartTUI.sh}: it is not a regular file\n"
      "not listed    {media/1/socket}\n"
      "wrong kind    {media/2/2.txt}: it is not a regular file\n");
}

TEST_F(HostileMedia, IsNotFineWithDevices) {
  world_.Change(
      "link media/1/zero /dev/zero; link media/2/2.txt /dev/zero; link media/1/StartTUI.sh "
      "/dev/zero");
  ExpectFound(
      "error: neither --os nor KVL_OS names a system, and the start script is missing or does not "
      "name one: {media/1/StartTUI.sh}\n"
      "warning: the marker of volume 2 cannot be read: {media/2/2.txt}\n"
      "warning: a device cannot be copied: {media/1/StartTUI.sh}\n"
      "warning: a device cannot be copied: {media/1/zero}\n",
      "wrong kind    {media/1/StartTUI.sh}: it is not a regular file\n"
      "not listed    {media/1/zero}\n"
      "wrong kind    {media/2/2.txt}: it is not a regular file\n");
}

TEST_F(HostileMedia, IsNotFineWithNamesThatATerminalObeys) {
  world_.Change("link media/2/a\\nb x; link media/2/\\x1B[2J x; link media/2/\\xFF x");
  ExpectFound(
      "warning: this link leads nowhere: {media/2}/\\x1B[2J\n"
      "warning: this link leads nowhere: {media/2}/a\\x0Ab\n"
      "warning: this link leads nowhere: {media/2}/\\xFF\n",
      "not listed    {media/2}/\\x1B[2J\n"
      "not listed    {media/2}/a\\x0Ab\n"
      "not listed    {media/2}/\\xFF\n");
}

TEST_F(HostileMedia, IsNotFineWithClosedDirectories) {
  world_.Change("mode 0 media/1/payload; mode 0 media/2/payload/2");
  ExpectFound(
      "warning: you cannot enter a directory above this path: {media/1/payload/1}\n"
      "warning: other users cannot read this directory: {media/1/payload}\n"
      "warning: you cannot list this directory, so it counts as empty: {media/1/payload}\n"
      "warning: other users cannot read this directory: {media/2/payload/2}\n"
      "warning: you cannot list this directory, so it counts as empty: {media/2/payload/2}\n",
      "unreadable    {media/1/payload}: opendir - {media/1/payload} - Permission denied\n"
      "wrong mode    {media/1/payload}: 000 instead of 755\n"
      "unreadable    {media/2/payload/2}: opendir - {media/2/payload/2} - Permission denied\n"
      "wrong mode    {media/2/payload/2}: 000 instead of 755\n",
      3, GiveUpPermissions);
  world_.Change("mode 755 media/1/payload; mode 755 media/2/payload/2");
}

TEST_F(HostileMedia, IsNotFineWithPathsBeyondTheLimitOfTheSystem) {
  constexpr int kLevels = 25;
  const std::string name(kNameLength, 'd');
  std::string way = world_.Path("media/2/payload/2");
  MakeDeep(way, kLevels);
  while (way.size() < PATH_MAX) way += "/" + name;
  ExpectFound("warning: this path is too long for the system: " + way + "\n",
              "not listed    {media/2/payload/2}/" + name + "\n");
}

TEST_F(HostileMedia, IsNotFineWithAHundredThousandEntries) {
  constexpr int kEntries = 100'000;
  const int top = ::open(world_.Path("media/2/payload/2").c_str(), O_PATH | O_CLOEXEC);
  for (int i = 0; i < kEntries; ++i) ::mknodat(top, std::to_string(i).c_str(), S_IFREG | 0600, 0);
  ::close(top);
  const Outcome checked = world_.Companion({"check", "media/1"}, {{"TMPDIR", "/tmp"}});
  EXPECT_THAT(checked.out, testing::HasSubstr("\n100000 problems: "));
  EXPECT_EQ((Outcome{checked.status, "", checked.err}), (Outcome{1, "", ""}));
  const Outcome verified = world_.Companion({"verify", "media"});
  EXPECT_THAT(verified.out, testing::HasSubstr("\n100000 problems; "));
  EXPECT_EQ((Outcome{verified.status, "", verified.err}), (Outcome{1, "", ""}));
}

TEST_F(HostileMedia, IsNotFineWithTextsOfAGibibyte) {
  for (const char* name : {"1/StartTUI.sh", "1/1.sha256", "2/2.txt", "2/media.manifest"}) {
    const std::string path = world_.Path(std::string("media/") + name);
    WriteFile(path, "");
    fs::resize_file(path, 1U << 30U);
  }
  ExpectFound(
      "error: neither --os nor KVL_OS names a system, and the start script is missing or does not "
      "name one: {media/1/StartTUI.sh}\n"
      "warning: the marker of volume 2 has no line MTBDIR=<tag>: {media/2/2.txt}\n",
      "bad manifest  {media/2/media.manifest}: longer than 268435456 bytes\n"
      "wrong list    {media/1/1.sha256}: its digest differs from that in the manifest\n");
}

TEST_F(HostileMedia, IsNotFineIfItChangesWhileItIsVerified) {
  const std::string directory = world_.Path("media/2/payload/2");
  for (const std::string change :
       {"remove", "link ../../../setup", "link ../../1", "pipe", "file text"}) {
    SCOPED_TRACE(change);
    fs::remove_all(world_.Path("media"));
    world_.Make("sibling");
    const std::size_t end = change.find(' ');
    const std::string target = end == std::string::npos ? "" : change.substr(end);
    const BeforeOpen moment(directory, [&] {
      world_.Change("remove media/2/payload/2");
      if (change != "remove") world_.Change(change.substr(0, end) + " media/2/payload/2" + target);
    });
    const Outcome seen = world_.Verify({"{media}"});
    EXPECT_EQ(
        (Outcome{seen.status, WithoutLastLine(seen.out), seen.err}),
        (Outcome{3,
                 world_.Text("unreadable    {media/2/payload/2}: opendir - "
                             "{media/2/payload/2} - ") +
                     (change == "remove" ? "No such file or directory\n" : "Not a directory\n"),
                 ""}));
  }
}

/// The directory disappears after it was listed and before it is looked at or opened.
TEST_F(HostileMedia, IsNotFineIfItChangesWhileItIsChecked) {
  const std::vector<std::pair<FailingCall::Call, std::string>> rows = {
      {FailingCall::kLook,
       "warning: the payload directory of volume 2 is missing: {media/2/payload/2}\n"
       "warning: the system cannot read this entry (No such file or directory): "
       "{media/2/payload/2}\n"},
      {FailingCall::kOpenDir,
       "warning: you cannot list this directory, so it counts as empty: {media/2/payload/2}\n"}};
  for (const auto& [call, said] : rows) {
    const FailingCall gone(call, world_.Path("media/2/payload/2"), ENOENT);
    const Outcome seen = SealedWorld::CompanionHere({"check", world_.Path("media/1")});
    EXPECT_EQ((Outcome{seen.status, Findings(seen.out), seen.err}),
              (Outcome{1, world_.Text(said), ""}));
  }
}

}  // namespace
}  // namespace kvl::test
