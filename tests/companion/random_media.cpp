#include "tests/companion/random_media.h"

#include <elf.h>
#include <random>

#include "tests/models/laws.h"
#include "tests/models/models.h"
#include "tests/models/scan_model.h"

namespace kvl::test {
namespace {

constexpr std::size_t kLongestText = 131'072;  // of an argument or a variable on most machines

/// Damages a whole program, or turns it into one for another machine.
std::string Unfit(std::string program, ByteSource& source) {
  Elf64_Ehdr header;
  std::memcpy(&header, program.data(), sizeof header);
  switch (source.Below(5)) {
    case 0:
      header.e_machine = header.e_machine == EM_AARCH64 ? EM_X86_64 : EM_AARCH64;
      break;
    case 1:
      header.e_ident[EI_DATA] = header.e_ident[EI_DATA] == ELFDATA2LSB ? ELFDATA2MSB : ELFDATA2LSB;
      break;
    case 2:
      return program.substr(0, source.Below(256));
    case 3:
      return program.substr(0, program.size() * (source.Below(200) + 1) / 256);
    default:
      const std::size_t at = program.find("/ld-");
      if (at != std::string::npos) program[at + 1] = 'X';
      return program;
  }
  // Only the header: a shell may get the file, and executes what it finds.
  return std::string(reinterpret_cast<const char*>(&header), sizeof header);
}

/// Returns bytes that depend on nothing but the seed.
std::vector<std::uint8_t> RandomBytes(unsigned seed) {
  constexpr std::size_t kEnough = 8192;
  std::mt19937 generator(seed);
  std::vector<std::uint8_t> bytes(kEnough);
  for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(generator());
  return bytes;
}

/// Returns true for a table of many volumes, which takes time and shows no more than a few volumes
/// do.
bool IsLarge(const ScanTable& table) {
  constexpr int kFew = 9;
  const auto count = ModelOfNumber(table.volumes_file ? table.volumes_file->contents : "").value;
  return (count && *count > kFew) || table.flat.size() > kFew || table.beside.size() > kFew ||
         table.am.size() > kFew;
}

}  // namespace

RandomMedia::RandomMedia(unsigned seed, const Programs& programs)
    : programs_(programs), bytes_(RandomBytes(seed)) {
  SetMode(world_.Path("."), 0755);
  MakeVolumes();
  MakeInstaller(media_, Percent(80));
  MakeDescriptions();
  MakeExtras();
  MakeExternal();
  MakeStart();
  MakeInstallerThatCannotRun();
  MakeLongTexts();
  MakeLongPaths();
  CloseSomething();
}

void RandomMedia::MakeCall() {
  plan_ = {};
  umask_ =
      Percent(12) ? source_.OneOf<mode_t>({027, 077, 0100, 0111, 0200, 0300, 0400, 0777}) : 022;
  plan_.env["FAKE_EXIT"] = std::to_string(kInstallerStatus);
  if (Percent(25)) plan_.arguments = {"-installerPath", "{" + external_ + "}"};
  if (Percent(25)) plan_.env["KVL_ZOLVEN_Installer"] = "{" + external_ + "}";
  if (Percent(20)) plan_.env["KVL_UseExternalInstaller"] = "yes";
  Argue(6, {"-SoftMgt", "-List"});
  Argue(2, {"-Check"});
  Argue(4, {"--mgt"});
  Argue(4, {"--uninst"});
  Argue(2, {"--odt"});
  Argue(3, {"-env", "KVLAdmInstDontCopyInstaller"});
  Argue(3, {"-env", kTmpOption});
  Argue(20, {"plain", "with blank"});
  Argue(4, {""});
  Argue(4, {"a\"b", "c\\"});
  if (Percent(4)) plan_.env["KVLAdmODTMultiVolumes"] = "1";
  if (Percent(4)) plan_.env["KVLAdmInstDontCopyInstaller"] = "1";
  if (Percent(4)) plan_.env["KVL_Online_Installation_Caf_Repositiory"] = "1";
  if (Percent(50)) plan_.env["KVL_LIBPATH_VARNAME"] = "LD_LIBRARY_PATH";
  const Lines places = {"{tmp/new}", "{" + media_ + "/inst/common}", "{" + media_ + "/media.xml}",
                        "{tmp/}"};
  if (Percent(20)) plan_.env["TMPDIR"] = source_.OneOf(places);
  if (Percent(8)) plan_.env["TMPDIR"] = source_.OneOf(OddPlaces());
  if (Percent(2)) {  // the launcher joins the two
    const std::string half(kLongestText / 2 - source_.Below(4), 'x');
    plan_.arguments.insert(plan_.arguments.end(), {"\"" + half, half + "\""});
  }
}

void RandomMedia::MakeTemporaryDirectoriesAnew() {
  const TestDirectory& directory = world_.Directory();
  OpenUp(world_.Path("tmp"));
  fs::remove_all(world_.Path("tmp"));
  directory.Link("tmp/link", "nowhere");
  directory.MakeDir("closed/tmp");
  SetMode(world_.Path("closed"), 0700);
  for (const char* name : {"tmp", "work", "tmp/a\\b", "tmp/made"}) {
    SetMode(directory.MakeDir(name), 0777);
  }
}

void RandomMedia::MakeVolumes() {
  ScanTable table;
  do table = DecodeScanTable(source_);
  while (IsLarge(table) || table.is_relative);  // other tests change what lies above
  table.is_online = table.is_software_management = false;
  if (Percent(8)) {
    table.media_name =
        source_.OneOf<std::string>({"a:b", "a b", "a\"b", "a\nb", "\n WARN: a", "a\\b", "'a'"});
  }
  if (Percent(20)) table.volumes_file = {};
  const std::string top = world_.Directory().MakeDir("top");
  MakeWorld(table, top);
  media_ = fs::path(MediaPath(table, top)).lexically_relative(world_.Path("."));
}

void RandomMedia::MakeInstaller(const std::string& directory, bool is_there) {
  world_.Volume(directory).File("inst/common/reffiles/list", "c").File("inst/linux/list", "o");
  if (!is_there) return;
  const std::string path = directory + "/inst/linux/code/bin/installer";
  if (Percent(3)) return void(world_.Directory().MakeDir(path));
  if (Percent(90)) {  // a link is made faster than a copy
    return void(world_.Directory().Link(path, programs_.Path("fake_installer")));
  }
  world_.Volume(directory).Dir("inst/linux/code/bin");
  fs::copy_file(programs_.Path("fake_installer"), world_.Path(path));
  if (Percent(50)) SetMode(world_.Path(path), 0644);
}

void RandomMedia::MakeDescriptions() {
  world_.Volume(media_).Descriptions();
  if (Percent(8)) {
    fs::remove(world_.Path(media_ + "/" + source_.OneOf<std::string>({"media.db", "StartGUI.sh"})));
  }
}

void RandomMedia::MakeExtras() {
  VolumeBuilder volume = world_.Volume(media_);
  if (Percent(30)) volume.File("inst/a/b/c", "text").Dir("inst/a/empty");
  if (Percent(20)) volume.Link("inst/link", "common").Link("inst/file", "common/reffiles/list");
  if (Percent(4)) volume.Link("inst/dangling", "nowhere");
  if (Percent(4)) volume.Link("inst/common/up", "..");
  if (Percent(4)) volume.Link("inst/x/y", "../z").Link("inst/z/x", "../x");
  if (Percent(3)) world_.Directory().Pipe(media_ + "/inst/pipe");
  if (Percent(10)) volume.File("inst/common/mixed", "a file");
  if (Percent(5)) volume.Link("inst/null", "/dev/null");
  if (Percent(5)) volume.File("inst/a\\b/c\nd", "odd");
}

void RandomMedia::MakeExternal() {
  external_ = Percent(20) ? "an ext" : "ext";
  const std::string root = Percent(30) ? external_ + "/1" : external_;
  MakeInstaller(root, Percent(85));
  if (Percent(15)) world_.Volume(root).File("inst/common/mixed", "another");
  if (Percent(5)) {
    fs::remove(world_.Path(root + "/inst/common/mixed"));
    world_.Volume(root).Dir("inst/common/mixed");
  }
  if (Percent(5)) fs::remove_all(world_.Path(root + "/inst/common"));
}

void RandomMedia::Argue(unsigned chance, const Lines& arguments) {
  if (!Percent(chance)) return;
  plan_.arguments.insert(plan_.arguments.end(), arguments.begin(), arguments.end());
}

void RandomMedia::MakeStart() {
  const std::string script = media_ + "/StartTUI.sh";
  if (Percent(20)) world_.Directory().Write(script, "exec inst/linux/code/bin/kvl-launcher");
  if (!Percent(80)) return;
  SetMode(world_.Path(script), 0755);
  std::error_code error;  // it may be missing
  fs::permissions(world_.Path(media_ + "/StartGUI.sh"), fs::perms(0755), error);
}

void RandomMedia::MakeInstallerThatCannotRun() {
  const std::string path = media_ + "/inst/linux/code/bin/installer";
  if (!Percent(12) || !fs::exists(world_.Path(path))) return;
  fs::remove_all(world_.Path(path));
  static const Lines contents = {"", "#!/bin/sh\r\n", "#! /nowhere/sh -e\n", "#!/nowhere/sh"};
  const std::string program = ReadFile(programs_.Path("fake_installer"));
  world_.Directory().Write(path, Percent(70) ? Unfit(program, source_) : source_.OneOf(contents));
  if (Percent(80)) SetMode(world_.Path(path), 0755);
  if (Percent(10)) {
    world_.Directory().Write(path, "#!" + programs_.Path("fake_installer") + "\n");
    SetMode(world_.Path(path), source_.OneOf<unsigned>({0111, 0311, 0711, 0755}));
  }
}

void RandomMedia::MakeLongTexts() {
  if (!Percent(3)) return;
  const std::size_t length = source_.OneOf<std::size_t>({100, kLongestText, kLongestText * 2});
  const std::string tag(length - sizeof "KVLAdmInstMTBDIR" - source_.Below(3) + 1, 't');
  VolumeBuilder volume = world_.Volume(media_);
  if (fs::is_directory(world_.Path(media_ + "/1.txt"))) return;
  fs::remove_all(world_.Path(media_ + "/inst/volumes.txt"));
  for (const char* name : {"/1.txt", "/2.txt"}) fs::remove_all(world_.Path(media_ + name));
  volume.Announces("2").Marker(1, tag);
  if (Percent(50)) volume.Marker(2, tag);
  if (Percent(30)) volume.Announces("2" + std::string(length, ' '));
}

void RandomMedia::MakeLongPaths() {
  if (Percent(3)) {
    const std::string inst = world_.Path(media_ + "/inst");
    fs::create_directories(PathOfLength(inst, 4015 + 8 * source_.Below(10)));
  }
  if (!Percent(10)) return;
  deep_ = PathOfLength(world_.Path("deep"), 3970 + 8 * source_.Below(16));
  fs::create_directories(deep_);
  SetMode(deep_, 0777);
}

void RandomMedia::CloseSomething() {
  if (!Percent(15)) return;
  const Lines names = {
      "1.txt",           "2.txt",      "inst/volumes.txt", "media.db", "StartTUI.sh",
      "inst/linux/list", "inst/linux", "inst/common",      "inst",     "."};
  const std::string path = world_.Path(media_ + "/" + source_.OneOf(names));
  const unsigned mode = source_.OneOf<unsigned>({0, 0600, 0640, 0711, 0744, 0333});
  if (fs::is_regular_file(path) || fs::is_directory(path)) SetMode(path, mode | 0700);
  if (fs::is_regular_file(path)) SetMode(path, mode);
}

Lines RandomMedia::OddPlaces() {
  const Lines places = {"{tmp/link}",
                        "{tmp/link/below}",
                        "{tmp}/a\\b",
                        "{tmp}/made\\",
                        "{tmp}\\made",
                        "{closed/tmp}",
                        deep_.empty() ? "{tmp/}" : deep_};
  return places;
}

}  // namespace kvl::test
