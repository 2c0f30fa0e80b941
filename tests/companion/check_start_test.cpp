// kvl-media check: forecasts of a start that depend on the machine, the user or the caller.
#include <elf.h>

#include "tests/companion/check_world.h"

namespace kvl::test {
namespace {

/// Returns a 32-bit program without instructions for the predecessor of this machine.
std::string ProgramOf32Bits() {
  struct {
    Elf32_Ehdr head;
    Elf32_Phdr segment;
  } program = {};
  std::memcpy(&program.head, ReadFile(BuiltProgram("kvl-launcher")).data(), sizeof program.head);
  program.head.e_ident[EI_CLASS] = ELFCLASS32;
  program.head.e_machine = program.head.e_machine == EM_X86_64 ? EM_386 : EM_ARM;
  program.head.e_phoff = program.head.e_ehsize = sizeof program.head;
  program.head.e_phentsize = sizeof program.segment;
  program.head.e_phnum = 1;
  program.segment.p_type = PT_LOAD;
  program.segment.p_filesz = program.segment.p_memsz = sizeof program;
  return {reinterpret_cast<const char*>(&program), sizeof program};
}

TEST(CheckForetells, ThatALauncherOf32BitsStarts) {
  const CheckWorld world("two volumes; starter");
  const std::string launcher = "1/inst/linux/code/bin/kvl-launcher";
  SetMode(world.Directory().Write(launcher, ProgramOf32Bits()), 0755);
  world.ExpectReport(world.Check(),
                     Report(kInPlace, "Fine: the installer will be started in place\n"));
}

TEST(CheckForetells, WhoCanStartAStagedInstallerThatIsClosedToItsOwner) {
  const CheckWorld world("two volumes; 2: 2=SET-B; mode 655 1/inst/linux/code/bin/installer");
  const std::string starts = "1 problem: the installer will be staged and started\n";
  const std::string does_not_start = R"(
error: the installer has no execute permission: {1}/inst/linux/code/bin/installer; give the installer execute permission (chmod a+x)
2 problems: the installer cannot be started, and the launcher will end with status 255
)";
  world.ExpectReport(world.Check(), Report(kStaged, ::geteuid() == 0 ? starts : does_not_start));
}

TEST(CheckForetells, TheLowestByteOfALargeCountAsTheAnswerToAQuery) {
  CheckWorld world("two volumes; 1: volumes=300");
  std::string rows;
  for (int i = 1; i <= 300; ++i) {
    const std::string number = std::to_string(i);
    world.Make(number + ": " + number + "=SET-A");
    rows += std::string(14 - number.size(), ' ') + number + "  found       {" + number + "}\n";
  }
  world.ExpectReport(
      world.Check({}, {{"KVLAdmODTMultiVolumes", "1"}}),
      Report(kInPlace, "Volumes    300, layout sibling, tag SET-A\n" + rows +
                           "Start      not requested\n"
                           "Fine: the launcher will start nothing and answer with status 44\n"));
}

}  // namespace
}  // namespace kvl::test
