// kvl-media check: it foretells launches that fail because of a media, a user or a system, and the
// test then tries each launch.
#include <sys/mount.h>
#include <sys/utsname.h>

#include <link.h>

#include "companion/check/binary_head.h"
#include "console/text.h"
#include "tests/companion/check_world.h"
#include "tests/support/system_faults.h"

namespace kvl::test {
namespace {

constexpr char kInstallerOfOne[] = "1/inst/linux/code/bin/installer";
constexpr char kUnknown[] = "the outcome of the launch is unknown";
constexpr char kCannotStart[] =
    "the installer cannot be started, and the launcher will end with status 255";

// --- binaries ------------------------------------------------------------------------------------

using FileHeader = ElfW(Ehdr);
using Segment = ElfW(Phdr);

constexpr std::size_t kWholeBinary = 3 * 65536;  // at least three pages of any size

constexpr std::size_t kDynamic = 2 * kWholeBinary / 3;  // where its loader looks first

/// The beginning of a binary that the system accepts, although it has no instructions.
struct Binary {
  FileHeader header = {};
  Segment interpreter = {}, load = {}, dynamic = {};
  char loader[64] = "/bin/sh";  // any program for this machine will do

  Binary() {
    const std::string own = ReadFile("/proc/self/exe").substr(0, sizeof header);
    std::memcpy(&header, own.data(), sizeof header);
    header.e_type = ET_DYN;
    header.e_phoff = sizeof header;
    header.e_phnum = 3;
    header.e_entry = kWholeBinary - 1;
    interpreter.p_type = PT_INTERP;
    interpreter.p_offset = sizeof header + 3 * sizeof load;
    interpreter.p_filesz = sizeof "/bin/sh";
    load.p_type = PT_LOAD;
    load.p_filesz = kWholeBinary;
    dynamic.p_type = PT_DYNAMIC;
    dynamic.p_offset = kDynamic;
  }

  void NeedLoader(std::string_view path) {
    path.copy(loader, path.size());
    loader[path.size()] = '\0';
    interpreter.p_filesz = static_cast<ElfW(Word)>(path.size() + 1);
  }

  std::string Bytes(std::size_t size) const {
    std::string bytes(kWholeBinary, '\0');
    std::memcpy(bytes.data(), this, sizeof *this);
    return bytes.substr(0, size);
  }
};

struct BadBinary {
  std::string name, text, remedy, end;
  std::function<void(Binary&)> change = {};
  std::size_t size = kWholeBinary;
};

const std::string kDamaged = "the program is damaged (", kAgain = "copy the program again";
const std::string kNoEnd = kDamaged + "the file ends before its last segment)";
const std::string kHalfHeader = kDamaged + "the file ends within its headers)";
const std::string kNonsense = kDamaged + "the headers make no sense)";
const std::string kInstallLoader = "install that loader, or put a program for this system there";
constexpr char kForThisMachine[] = "put the <program> for this machine there";
constexpr std::size_t kHeaders = sizeof(FileHeader) + 3 * sizeof(Segment);

std::string NeedsLoader(const std::string& path) {
  return "the program needs the loader " + path + ", which is missing or cannot be executed";
}

/// Returns the name of this machine in the reports.
std::string ThisMachine() {
  utsname system;
  ::uname(&system);
  const std::string name = system.machine;
  return name == "aarch64" ? "arm64" : name;
}

std::vector<BadBinary> BadBinaries() {
  const bool is_arm = ThisMachine() == "arm64";
  const std::string another = is_arm ? "x86_64" : "arm64";
  const std::string it_is = "the <program> is a program for ", but_this = ", but this machine is ";
  const ElfW(Half) its_machine = is_arm ? EM_X86_64 : EM_AARCH64;
  return {
      {"for another machine", it_is + another + but_this + ThisMachine(), kForThisMachine, kUnknown,
       [=](Binary& binary) { binary.header.e_machine = its_machine; }},
      {"for a machine that nobody has any more", it_is + "machine 32639" + but_this + ThisMachine(),
       kForThisMachine, kUnknown, [](Binary& binary) { binary.header.e_machine = 0x7F7F; }},
      {"of the other order of bytes",
       it_is + another + " in the other order of bytes" + but_this + ThisMachine(), kForThisMachine,
       kUnknown,
       [=](Binary& binary) {
         binary.header.e_machine = ElfW(Half)(its_machine << 8U);
         binary.header.e_ident[EI_DATA] ^= ELFDATA2LSB ^ ELFDATA2MSB;
       }},
      {"with nothing behind its mark", kHalfHeader, kAgain, kUnknown, {}, 4},
      {"cut off before its machine ends", kHalfHeader, kAgain, kUnknown, {}, 19},
      {"cut off in its header", kHalfHeader, kAgain, kUnknown, {}, sizeof(FileHeader) - 1},
      {"cut off in its segments", kHalfHeader, kAgain, kUnknown, {}, kHeaders - 1},
      {"with its segments behind all numbers", kHalfHeader, kAgain, kUnknown,
       [](Binary& binary) { binary.header.e_phoff = ElfW(Off)(-1); }},
      {"cut off where its loader is named", kNoEnd, kAgain, kCannotStart, {}, kHeaders + 7},
      {"cut off before what its loader needs", kNoEnd, kAgain, kCannotStart, {}, kWholeBinary / 3},
      {"cut off where that begins", kNoEnd, kAgain, kCannotStart, {}, kDynamic},
      {"cut off where that has begun", kNoEnd, kAgain, kUnknown, {}, kDynamic + 1},
      {"cut off behind that", kNoEnd, kAgain, kUnknown, {}, kWholeBinary - 1},
      {"cut off behind that, with no loader for it", kNoEnd, kAgain, kCannotStart,
       [](Binary& binary) { binary.NeedLoader("/no/ld"); }, kWholeBinary - 1},
      {"cut off before its first instruction", kNoEnd, kAgain, kCannotStart,
       [](Binary& binary) { binary.dynamic = binary.interpreter = {}; }, kWholeBinary / 3},
      {"with a segment behind all numbers", kNoEnd, kAgain, kUnknown,
       [](Binary& binary) { binary.load.p_offset = ElfW(Off)(-4096); }},
      {"of an unknown width", kNonsense, kAgain, kUnknown,
       [](Binary& binary) { binary.header.e_ident[EI_CLASS] = 0x12; }},
      {"of an unknown order of bytes", kNonsense, kAgain, kUnknown,
       [](Binary& binary) { binary.header.e_ident[EI_DATA] = ELFDATANONE; }},
      {"that is linked into others", kNonsense, kAgain, kUnknown,
       [](Binary& binary) { binary.header.e_type = ET_REL; }},
      {"without segments", kNonsense, kAgain, kUnknown,
       [](Binary& binary) { binary.header.e_phnum = 0; }},
      {"with segments of another size", kNonsense, kAgain, kUnknown,
       [](Binary& binary) { binary.header.e_phentsize = 1; }},
      {"whose loader has no name", kNonsense, kAgain, kUnknown,
       [](Binary& binary) { binary.NeedLoader(""); }},
      {"whose loader has a name without an end", kNonsense, kAgain, kUnknown,
       [](Binary& binary) { --binary.interpreter.p_filesz; }},
      {"whose loader has too long a name", kNonsense, kAgain, kUnknown,
       [](Binary& binary) { binary.interpreter.p_filesz = PATH_MAX + 1; }},
      {"whose loader is missing", NeedsLoader("/no/ld"), kInstallLoader, kCannotStart,
       [](Binary& binary) { binary.NeedLoader("/no/ld"); }},
      {"whose loader is a directory", NeedsLoader("/"), kInstallLoader, kCannotStart,
       [](Binary& binary) { binary.NeedLoader("/"); }},
      {"whose loader is no binary", NeedsLoader("/dev/null"), kInstallLoader, kCannotStart,
       [](Binary& binary) { binary.NeedLoader("/dev/null"); }},
      {"whose loader cannot be executed", NeedsLoader("/etc/passwd"), kInstallLoader, kCannotStart,
       [](Binary& binary) { binary.NeedLoader("/etc/passwd"); }},
  };
}

/// Tries each binary as the installer, and as the launcher that the start script starts.
TEST(CheckForetells, EveryBinaryThatCannotBeStarted) {
  for (const BadBinary& row : BadBinaries()) {
    SCOPED_TRACE(row.name);
    CheckWorld world("two volumes");
    Binary binary;
    if (row.change) row.change(binary);
    fs::remove(world.Path(kInstallerOfOne));
    SetMode(world.Directory().Write(kInstallerOfOne, binary.Bytes(row.size)), 0755);
    const auto line = [&](const std::string& program) {
      std::string text = row.text, remedy = row.remedy;
      for (std::string* part : {&text, &remedy}) ReplaceAll(*part, "<program>", program, 0);
      const std::string name = program == "launcher" ? "kvl-launcher" : program;
      return "error: " + text + ": {1/inst/linux/code/bin/" + name + "}; " + remedy + "\n";
    };
    world.ExpectReport(world.Check(),
                       Report(kInPlace, line("installer") + "1 problem: " + row.end + "\n"));
    if (row.end == kCannotStart) {
      EXPECT_EQ(world.Launch("1").status, 255);
    }
    world.Change("starter; link 1/inst/linux/code/bin/kvl-launcher installer");
    world.ExpectReport(world.Check(),
                       Report(kInPlace, line("installer") + line("launcher") +
                                            "2 problems: the launcher cannot be started\n"));
  }
}

TEST(CheckBinary, NamesTheMachineThatABinaryIsFor) {
  struct Row {
    ElfW(Half) machine;
    std::string of_32_bits, of_64_bits;
  };
  const std::vector<Row> rows = {{EM_386, "i386", "i386"},    {EM_X86_64, "x32", "x86_64"},
                                 {EM_ARM, "arm", "arm"},      {EM_AARCH64, "arm64", "arm64"},
                                 {EM_PPC, "ppc", "ppc"},      {EM_PPC64, "ppc64", "ppc64"},
                                 {EM_S390, "s390", "s390x"},  {EM_SPARC, "sparc", "sparc"},
                                 {EM_MIPS, "mips", "mips64"}, {EM_SPARCV9, "sparc", "sparc64"},
                                 {EM_IA_64, "ia64", "ia64"},  {EM_RISCV, "riscv32", "riscv64"}};
  const TestDirectory directory;
  const std::string path = directory.Path("binary");
  for (const Row& row : rows) {
    for (const int width : {ELFCLASS32, ELFCLASS64}) {
      Binary binary;
      binary.header.e_machine = row.machine;
      binary.header.e_ident[EI_CLASS] = static_cast<unsigned char>(width);
      WriteFile(path, binary.Bytes(kWholeBinary));
      const BinaryCheck check = CheckBinary(path);
      if (check.fault != BinaryFault::kOtherMachine) continue;  // this machine or its predecessor
      EXPECT_EQ(check.machine, width == ELFCLASS32 ? row.of_32_bits : row.of_64_bits);
      EXPECT_EQ(check.own_machine, ThisMachine());
    }
  }
}

TEST(CheckForetells, ThatAWholeBinaryStarts) {
  CheckWorld world("two volumes");
  const std::vector<std::function<void(Binary&)>> changes = {
      [](Binary&) {},
      [](Binary& binary) { binary.interpreter = {}; },
      [](Binary& binary) {  // an empty segment at the end of the file
        binary.load.p_offset = kWholeBinary;
        binary.load.p_filesz = 0;
      },
  };
  for (const auto& change : changes) {
    Binary binary;
    change(binary);
    fs::remove(world.Path(kInstallerOfOne));
    SetMode(world.Directory().Write(kInstallerOfOne, binary.Bytes(kWholeBinary)), 0755);
    world.ExpectReport(world.Check(),
                       Report(kInPlace, "Fine: the installer will be started in place\n"));
  }
}

// --- texts that are too long ---------------------------------------------------------------------

constexpr std::size_t kLongest = 131'071;  // of a text; more on machines with large pages

/// Returns false on machines where a text may be longer.
bool HasUsualPages() {
  return ::sysconf(_SC_PAGESIZE) == 4096;
}

TEST(CheckForetells, ArgumentsThatTogetherAreTooLongForOne) {
  if (!HasUsualPages()) GTEST_SKIP() << "the longest argument is longer here";
  CheckWorld world("two volumes");
  const std::string half(kLongest / 2, 'x');
  for (const std::string more : {"", "x"}) {
    const Lines arguments = {"\"" + half, half + more + "\""};
    const std::string split =
        "warning: the launcher changes this path or argument for the installer, because it is "
        "empty "
        "or has a double quote, a doubled backslash or a backslash at its end: \"" +
        half + "; use a path or argument that is not empty and has none of these\n";
    const std::string too_long =
        "error: argument 3 of the installer is longer than the system passes to a program; "
        "shorten this argument\n2 problems: the installer cannot be started, and the launcher will "
        "end with status 255\n";
    const bool is_too_long = !more.empty();
    Lines further = arguments;
    further.insert(further.begin(), "--");
    world.ExpectReport(world.Check(further),
                       Report(kInPlace, split + (is_too_long ? too_long : "")));
    EXPECT_EQ(world.Launch("1", {.arguments = arguments}).status, is_too_long ? 255 : 0);
  }
}

TEST(CheckForetells, AVariableThatATagMakesTooLong) {
  if (!HasUsualPages()) GTEST_SKIP() << "the longest variable is longer here";
  CheckWorld world("two volumes");
  const std::size_t longest = kLongest - std::string("KVLAdmInstMTBDIR=").size();
  for (const std::size_t length : {longest, longest + 1}) {
    for (const int volume : {1, 2}) {
      world.Volume(std::to_string(volume)).Marker(volume, std::string(length, 't'));
    }
    const Outcome seen = world.Check({"--json"});
    const bool is_too_long = length > longest;
    EXPECT_EQ(seen.status, is_too_long ? 1 : 0);
    EXPECT_EQ(seen.out.find("\"variable-too-long\"") != std::string::npos, is_too_long);
    EXPECT_EQ(seen.out.find("\"cannot-start\"") != std::string::npos, is_too_long);
    EXPECT_EQ(world.Launch("1").status, is_too_long ? 255 : 0);
  }
}

/// Limits the stack of the child that calls this. The system passes a quarter of it to a program.
void LimitStack() {
  const rlimit limit = {1U << 21U, 1U << 21U};
  RequireDone(::setrlimit(RLIMIT_STACK, &limit) == 0, "limit the stack");
}

TEST(CheckForetells, VariablesThatTogetherAreTooLong) {
  CheckWorld world("two volumes");
  // The launcher passes PATH on twice.
  Environment env = {{"PATH", std::string(100'000, 'p')}};
  for (const char* name : {"A", "B", "C", "D"}) env[name] = std::string(100'000, 'v');
  const Outcome seen = world.Check({}, env, LimitStack);
  EXPECT_EQ(Replaced(seen.out, "[0-9]+ bytes together, but the system passes at most [0-9]+",
                     "<n> bytes together, but the system passes at most <n>"),
            world.Text(Report(kInPlace, R"(
error: the arguments and variables of the installer have <n> bytes together, but the system passes at most <n> to a program; shorten or remove the longest of them
1 problem: the installer cannot be started, and the launcher will end with status 255
)")));
  EXPECT_EQ(world.Launch("1", {.env = env, .before = LimitStack}).status, 255);
  env.erase("D");
  world.ExpectReport(world.Check({}, env, LimitStack),
                     Report(kInPlace, "Fine: the installer will be started in place\n"));
  EXPECT_EQ(world.Launch("1", {.env = env, .before = LimitStack}).status, 0);
}

TEST(CheckForetells, TextsThatTogetherAreJustShortEnough) {
  CheckWorld world("two volumes");
  const std::string argument(9'000, 'x');
  // The launcher passes PATH on twice.
  Environment env = {{"FAKE_REPORT", "{report}"}};
  for (const char* name : {"PATH", "A", "B", "C", "D"}) env[name] = std::string(100'000, 'v');
  const auto check = [&] { return world.Check({"--", argument}, env, LimitStack); };
  const auto launch = [&] {
    return world.Launch("1", {.arguments = {argument}, .env = env, .before = LimitStack}).status;
  };
  const std::string out = check().out;
  const auto number_behind = [&](const std::string& words) {
    return std::stoul(out.substr(out.find(words) + words.size()));
  };
  std::string& last = env["D"];
  last.resize(last.size() - number_behind("installer have ") +
              number_behind("system passes at most "));
  world.ExpectReport(check(), Report(kInPlace, "Fine: the installer will be started in place\n"));
  EXPECT_EQ(launch(), 0);
  last += 'v';
  EXPECT_THAT(check().out,
              testing::EndsWith("cannot be started, and the launcher will end with status 255\n"));
  EXPECT_EQ(launch(), 255);
}

// --- staging -------------------------------------------------------------------------------------

std::string Staged(const std::string& place, const std::string& files = "9") {
  return "Start      staged in " + place + "/<identifier>: " + files +
         " files, <n> bytes; <n> bytes free\n";
}

TEST(CheckForetells, APathThatIsTooLongWhereItIsStaged) {
  const std::string staged_inst = "/12345678-1234-1234-1234-123456789012/inst";
  for (const std::string longest :
       {"/linux/code/bin/installer", "/linux/code/bin/empty directory"}) {
    CheckWorld world("two volumes; 2: 2=SET-B");
    if (longest.ends_with("directory")) world.Volume("1/inst" + longest);
    const std::size_t fitting = PATH_MAX - 1 - staged_inst.size() - longest.size();
    for (const std::size_t length : {fitting, fitting + 1}) {
      const std::string deep = PathOfLength(world.Path("deep"), length);
      fs::create_directories(deep);
      const bool fits = length == fitting;
      world.ExpectReport(
          world.Check({}, {{"TMPDIR", deep}}),
          Report(
              kStaged,
              Staged(deep) +
                  (fits ? "1 problem: the installer will be staged and started\n"
                        : "error: the staged copy of this file or directory has a path that is too "
                          "long for the system: {1}/inst; set TMPDIR to a directory with a shorter "
                          "path, shorten names, or use fewer directories\n")));
      const LaunchPlan plan = {.env = {{"TMPDIR", deep}}};
      EXPECT_EQ(world.Launch("1", plan).status, fits ? 0 : 1);
    }
  }
}

TEST(CheckForetells, ThatWhatCannotBeListedIsNotOverwritten) {
  struct Row {
    std::string closed;
    int files;
  };
  for (const Row& row : {Row{"1/inst/common/reffiles", 9}, Row{"1/inst", 8}}) {
    SCOPED_TRACE(row.closed);
    CheckWorld world("two volumes; 2: 2=SET-B; installer ext; mode 311 " + row.closed);
    const Environment env = {{"KVL_UseExternalInstaller", "1"}, {"KVL_ZOLVEN_Installer", "{ext}"}};
    const Outcome seen = world.Check({}, env, GiveUpPermissions);
    const LaunchSeen launch = world.Launch("1", {.env = env, .before = GiveUpPermissions});
    SetMode(world.Path(row.closed), 0755);
    if (seen.status == kImpossibleHere) GTEST_SKIP() << "permissions cannot be given up here";
    std::string findings = R"(
warning: you cannot list this directory, so it counts as empty: {1}; give the directory read and execute permission (chmod a+rx)
warning: other users cannot read this directory: {1}; give all users read and execute permission (chmod a+rx)
3 problems: the installer will be staged and started
)";
    ReplaceAll(findings, "{1}", "{" + row.closed + "}", 0);
    world.ExpectReport(seen, Report(kStaged,
                                    "Installer  {ext}/inst/linux/code/bin/installer, from "
                                    "KVL_ZOLVEN_Installer; name from --installer\n" +
                                        Staged("{tmp}", std::to_string(row.files)) + findings));
    EXPECT_EQ(launch.status, 0);
    const auto is_file = [](const std::string& line) { return line.starts_with("f "); };
    EXPECT_EQ(std::count_if(launch.staged.begin(), launch.staged.end(), is_file), row.files + 1);
  }
}

TEST(CheckForetells, AnInstallerThatIsNotStaged) {
  CheckWorld world("two volumes; 2: 2=SET-B; mode 311 1/inst/linux/code");
  const Outcome seen = world.Check({}, {}, GiveUpPermissions);
  const LaunchSeen launch = world.Launch("1", {.before = GiveUpPermissions});
  SetMode(world.Path("1/inst/linux/code"), 0755);
  if (seen.status == kImpossibleHere) GTEST_SKIP() << "permissions cannot be given up here";
  world.ExpectReport(seen, Report(kStaged, Staged("{tmp}", "8") + R"(
error: you cannot list this directory, so it counts as empty: {1}/inst/linux/code; give the directory read and execute permission (chmod a+rx)
warning: other users cannot read this directory: {1}/inst/linux/code; give all users read and execute permission (chmod a+rx)
3 problems: the installer cannot be started, and the launcher will end with status 255
)"));
  EXPECT_EQ(launch.status, 255);
}

TEST(CheckForetells, AnExternalInstallerThatIsNotStaged) {
  const std::string first(60, '1'), closed = "ext/inst/linux/code";
  CheckWorld world("first " + first + "; " + first + ": volumes=2 1=SET-A; remove " + first +
                   "/inst/linux/code/bin/installer; installer ext; mode 311 " + closed);
  const Environment env = {{"KVL_ZOLVEN_Installer", "{ext}"}, {"TMPDIR", "{tmp}"}};
  const Outcome seen =
      world.Companion({"check", "{" + first + "}", "--os", "linux", "--installer", "installer"},
                      env, GiveUpPermissions);
  SetMode(world.Path(closed), 0755);
  if (seen.status == kImpossibleHere) GTEST_SKIP() << "permissions cannot be given up here";
  EXPECT_THAT(seen.out,
              testing::HasSubstr(world.Text("\nerror: you cannot list this directory, so it "
                                            "counts as empty: {" +
                                            closed + "}; ")));
  EXPECT_THAT(seen.out,
              testing::EndsWith(
                  "the installer cannot be started, and the launcher will end with status 255\n"));
}

/// Mounts a file system with these limits in the directory, for the child that calls this.
void MountSmall(const std::string& directory, const std::string& limits) {
  const bool is_possible = ::unshare(CLONE_NEWNS) == 0 &&
                           ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                           ::mount("none", directory.c_str(), "tmpfs", 0, limits.c_str()) == 0;
  if (!is_possible) ::_exit(kImpossibleHere);
}

CheckWorld& WithTinyFiles(CheckWorld& world) {
  for (int i = 0; i < 400; ++i) {
    world.Directory().Write("1/inst/common/" + std::to_string(i), "tiny");
  }
  return world;
}

TEST(CheckForetells, ThatTinyFilesDoNotFit) {
  CheckWorld world("two volumes; 2: 2=SET-B");
  WithTinyFiles(world);
  const std::string is_short =
      "error: staging needs <n> bytes, but only <n> are free: {tmp}/<identifier>/; make room "
      "there, "
      "or set TMPDIR to another directory\n";
  const std::string has_no_room =
      "error: staging needs room for 417 files and directories, but there is room for only 9: "
      "{tmp}/<identifier>/; make room there, or set TMPDIR to another directory\n";
  struct Row {
    std::string limits, finding;
  };
  for (const Row& row : {Row{"size=1m", is_short}, Row{"nr_inodes=10", has_no_room}}) {
    const auto mount = [&] { MountSmall(world.Path("tmp"), row.limits); };
    const Outcome seen = world.Check({}, {}, mount);
    if (seen.status == kImpossibleHere) GTEST_SKIP() << "nothing can be mounted here";
    world.ExpectReport(seen, Report(kStaged, Staged("{tmp}", "409") + row.finding));
    EXPECT_EQ(world.Launch("1", {.before = mount}).status, 1);
  }
}

TEST(CheckForetells, ThatAllFitsIntoAFileSystemWithoutLimits) {
  CheckWorld world("two volumes; 2: 2=SET-B");
  const auto mount = [&] { MountSmall(world.Path("tmp"), "size=0,nr_inodes=0"); };
  const Outcome seen = world.Check({}, {}, mount);
  if (seen.status == kImpossibleHere) GTEST_SKIP() << "nothing can be mounted here";
  world.ExpectReport(seen,
                     Report(kStaged, "1 problem: the installer will be staged and started\n"));
  EXPECT_EQ(world.Launch("1", {.before = mount}).status, 0);
}

TEST(CheckForetells, WhetherTheRoomIsEnough) {
  CheckWorld world("two volumes; 2: 2=SET-B");
  WithTinyFiles(world);
  constexpr std::uint64_t kBlock = 4096;
  std::uint64_t blocks = 0;
  for (const auto& entry : fs::recursive_directory_iterator(world.Path("1"))) {
    const bool is_marker = entry.path().filename() == "1.txt";
    if (entry.is_regular_file() && !is_marker) blocks += (entry.file_size() + kBlock - 1) / kBlock;
  }
  const std::string refused = "2 problems: the launcher will end with status 1";
  const std::string unknown = std::string("2 problems: ") + kUnknown;
  const std::string started = "1 problem: the installer will be staged and started";
  struct Row {
    std::uint64_t blocks, more_for_the_superuser;
    std::string end;
  };
  for (const Row& row :
       {Row{blocks - 1, 0, refused}, Row{blocks, 0, unknown}, Row{blocks * 2, 0, started},
        Row{0, blocks * 2, ::geteuid() == 0 ? unknown : refused}}) {
    const FakeFreeBlocks fake(row.blocks, kBlock, row.more_for_the_superuser);
    const ScopedEnv scoped({{"TMPDIR", world.Path("tmp")}, {"PATH", "/usr/bin:/bin"}});
    const Outcome seen = CheckWorld::CompanionHere(
        {"check", world.Path("1"), "--os", "linux", "--installer", "installer"});
    EXPECT_THAT(seen.out, testing::EndsWith(row.end + "\n"));
    EXPECT_EQ(seen.out.find("warning: staging may need up to ") != std::string::npos,
              row.end == unknown);
  }
}

/// Returns the room that staging needs at most, as a check says that cannot tell whether it is
/// enough.
std::uint64_t MostRoomOf(const CheckWorld& world) {
  constexpr std::uint64_t kBlock = 4096;
  const ScopedEnv scoped({{"TMPDIR", world.Path("tmp")},
                          {"PATH", "/usr/bin:/bin"},
                          {"KVL_UseExternalInstaller", "1"}});
  const auto needed_with = [&](std::uint64_t blocks) {
    const FakeFreeBlocks fake(blocks, kBlock);
    const Outcome seen =
        CheckWorld::CompanionHere({"check", world.Path("1"), "--os", "linux", "--installer",
                                   "installer", "--", "-installerPath", world.Path("ext")});
    return std::stoull(MatchOf(seen.out, "[^]*needs? (up to )?([0-9]+) bytes[^]*")[2]);
  };
  const std::uint64_t at_least = needed_with(0);
  return needed_with(at_least / kBlock);
}

TEST(CheckForetells, ThatAnExternalFileTakesTheRoomOfTheFileThatItReplaces) {
  CheckWorld world("two volumes; 2: 2=SET-B; installer ext");
  world.Directory().Write("ext/inst/linux/reffiles/more", std::string(100'000, 'x'));
  const std::uint64_t without = MostRoomOf(world);
  world.Directory().Write("1/inst/linux/reffiles/more", std::string(50'000, 'x'));
  EXPECT_EQ(MostRoomOf(world), without);
}

// --- names ---------------------------------------------------------------------------------------

TEST(CheckForetells, TheMessagesOfAMediaWithALineFeedInItsPath) {
  CheckWorld world;
  world.FirstVolume("a\nb").Announces("1");
  const Outcome seen =
      world.Companion({"check", "{a\nb}", "--os", "linux", "--installer", "installer", "--verbose"},
                      {{"TMPDIR", "{tmp}"}});
  EXPECT_THAT(seen.out, testing::EndsWith(world.Text(R"(
Messages
   INFO: {a}
         b/inst/linux/code/bin/installer
   INFO: Installer found in current media: "{a}
         b/inst/linux/code/bin/installer".
Fine: the installer will be started in place
)")));
  EXPECT_EQ(world.Launch("a\nb").out, world.Text(R"( INFO: {a}
       b/inst/linux/code/bin/installer
 INFO: Installer found in current media: "{a}
       b/inst/linux/code/bin/installer".
)"));
}

}  // namespace
}  // namespace kvl::test
