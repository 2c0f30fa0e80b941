// kvl-media make: one media for several machines.
#include "companion/check/start_script.h"
#include "tests/companion/check_world.h"

namespace kvl::test {
namespace {

/// Returns the name of this machine for --machine.
std::string ThisMachine() {
  const std::string name = NameOfThisMachine();
  return name == "aarch64" ? "arm64" : name;
}

/// Returns the name of a machine that is not this one.
std::string AnotherMachine() {
  return ThisMachine() == "s390x" ? "riscv64" : "s390x";
}

class MediaForSeveralMachines : public testing::Test {
 protected:
  /// The programs of the other machine are scripts, which print how they are started.
  MediaForSeveralMachines()
      : world_(
            "file payload/x x; file own #!/bin/sh\\necho own \"$@\"\\n; "
            "file other #!/bin/sh\\necho \"$KVL_OS $KVL_Installer_EXE\" \"$@\"\\n; mode 755 own; "
            "mode 755 other; dir tools; file tools/uname #!/bin/sh\\necho \"$MACHINE\"\\n; "
            "mode 755 tools/uname") {}

  Outcome Make(const Lines& systems) const {
    Lines arguments = {"make", "--tag", "T 1", "payload", "media"};
    arguments.insert(arguments.end(), systems.begin(), systems.end());
    return world_.Companion(arguments);
  }

  Outcome Plan(Lines systems) const {
    systems.emplace_back("--dry-run");
    return Make(systems);
  }

  static Lines System(const std::string& name, const std::string& machine,
                      const std::string& installer, const std::string& launcher) {
    return {"--system",    name,      "--machine",  machine,
            "--installer", installer, "--launcher", launcher};
  }

  /// Returns the options for this machine and another one.
  Lines Both() const {
    Lines both = System("mine", ThisMachine(), "own", BuiltProgram("kvl-launcher"));
    const Lines other = System("theirs", AnotherMachine(), "other", "other");
    both.insert(both.end(), other.begin(), other.end());
    return both;
  }

  /// Starts the media while uname prints this name of the machine.
  Outcome StartOn(const std::string& machine) const {
    return RunProgram({{world_.Path("media/StartTUI.sh"), "a b"},
                       {{"PATH", world_.Path("tools") + ":/usr/bin:/bin"},
                        {"MACHINE", machine},
                        {"TMPDIR", world_.Path("tmp")}}});
  }

  CheckWorld world_;
};

TEST_F(MediaForSeveralMachines, HoldsTheProgramsOfEachMachine) {
  world_.ExpectMade(Make(Both()), "'{media}");
  EXPECT_THAT(DescribeTree(world_.Path("media/inst")),
              testing::IsSupersetOf({"f 755 mine/code/bin/own = #!/bin/sh\necho own \"$@\"\n",
                                     "d 755 theirs/code/bin"}));
  EXPECT_EQ(ReadFile(world_.Path("media/inst/theirs/code/bin/kvl-launcher")),
            ReadFile(world_.Path("other")));
  EXPECT_EQ(ReadFile(world_.Path("media/inst/mine/code/bin/kvl-launcher")),
            ReadFile(BuiltProgram("kvl-launcher")));
  EXPECT_EQ(ReadFile(world_.Path("media/media.xml")),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<media tag=\"T 1\" system=\"mine theirs\" volumes=\"1\"/>\n");
  EXPECT_THAT(ReadFile(world_.Path("media/ReadMe_UNIX.txt")),
              testing::HasSubstr("\n    inst/mine/code/bin/own\n    inst/theirs/code/bin/other\n"));
  EXPECT_EQ(world_.Companion({"verify", "media"}).status, 0);
}

TEST_F(MediaForSeveralMachines, StartsTheProgramsOfTheMachine) {
  ASSERT_EQ(Make(Both()).status, 0);
  const Outcome here = StartOn(NameOfThisMachine());
  EXPECT_EQ(here.status, 0);
  EXPECT_THAT(here.out, testing::EndsWith("\nown -CDpath " + world_.Path("media") + " a b\n"));
  EXPECT_EQ(StartOn(AnotherMachine()), (Outcome{0, "theirs other a b\n", ""}));
}

TEST_F(MediaForSeveralMachines, NamesItsMachinesOnAnyOtherMachine) {
  ASSERT_EQ(Make(Both()).status, 0);
  EXPECT_EQ(StartOn("pdp11"),
            (Outcome{1, "",
                     "StartTUI.sh: there is nothing for this machine here: it is pdp11, and the "
                     "media is for " +
                         ThisMachine() + ", " + AnotherMachine() + "\n"}));
}

TEST_F(MediaForSeveralMachines, KnowsArm64ByBothOfItsNames) {
  ASSERT_EQ(Make(System("arm", "arm64", "other", "other")).status, 0);
  for (const char* name : {"arm64", "aarch64"}) {
    EXPECT_EQ(StartOn(name), (Outcome{0, "arm other a b\n", ""}));
  }
}

TEST_F(MediaForSeveralMachines, IsCheckedForThisMachine) {
  ASSERT_EQ(Make(Both()).status, 0);
  world_.ExpectReport(world_.Companion({"check", "media"}), R"(Media      {media}
System     mine, from StartTUI.sh
Installer  {media/inst/mine/code/bin/own}, in the media; name from StartTUI.sh
Volumes    1
Start      in place
Fine: the installer will be started in place
)");
}

TEST_F(MediaForSeveralMachines, CanBeMadeOnAnotherMachine) {
  const Outcome made = Make(System("theirs", AnotherMachine(), "other", "other"));
  EXPECT_EQ(made.status, 0) << made.out << made.err;
  const Outcome checked = world_.Companion({"check", "media"});
  EXPECT_EQ(checked.status, 1);
  EXPECT_THAT(checked.out,
              testing::HasSubstr(world_.Text(
                  "\nerror: this machine is " + NameOfThisMachine() + ", but the media is for " +
                  AnotherMachine() +
                  ": {media/StartTUI.sh}; start the media on a machine that it is for\n")));
}

TEST_F(MediaForSeveralMachines, IsRefusedWithInvalidOptions) {
  const std::string each =
      "--machine, --system, --installer and --launcher are not given equally often; give each of "
      "them once for each machine (see --help)";
  const auto expect_refused = [&](Lines systems, const std::string& line) {
    SCOPED_TRACE(line);
    world_.ExpectRefused(Make(systems), line);
    EXPECT_FALSE(fs::exists(world_.Path("media")));
  };
  const auto with = [&](const Lines& further) {
    Lines systems = System("one", "s390x", "own", "own");
    systems.insert(systems.end(), further.begin(), further.end());
    return systems;
  };
  expect_refused(with({"--machine", "arm64"}), each);
  expect_refused(with({"--machine", "arm64", "--system", "two", "--installer", "own"}), each);
  expect_refused(with(System("one", "arm64", "own", "own")),
                 "two systems have the same name: one; give each --system another name");
  expect_refused(with(System("two", "s390x", "own", "own")),
                 "two systems are for the same machine: s390x; give each --machine once");
  expect_refused(with(System("two", "", "own", "own")),
                 "--machine is empty; name the machine of each system");
  expect_refused(with(System("two", "a)", "own", "own")),
                 "--machine is not a valid name: a); use letters, digits and ._+- only, and begin "
                 "with neither . nor -");
  expect_refused(with(System("two", "arm64", "own", "missing")),
                 "the launcher is missing or not a regular file: missing; name it with --launcher");
}

TEST_F(MediaForSeveralMachines, TakesNoProgramForAnotherMachine) {
  struct Machine {
    std::string name;
    char byte_order, number;
  };
  const std::vector<Machine> machines = {{"x86_64", 1, 62},
                                         {"arm64", 1, char(183)},
                                         {"ppc64le", 1, 21},
                                         {"riscv64", 1, char(243)},
                                         {"s390x", 2, 22}};
  for (const Machine& machine : machines) {
    const bool is_large_first = machine.byte_order == 2;
    const std::string number = {is_large_first ? '\0' : machine.number,
                                is_large_first ? machine.number : '\0'};
    const std::string head =
        "\x7f"
        "ELF\2" +
        std::string(1, machine.byte_order) + std::string(12, '\0') + number + std::string(44, '\0');
    world_.Directory().Write("binary", head);
    for (const std::string name : {"x86_64", "arm64", "aarch64", "ppc64le", "riscv64", "s390x"}) {
      SCOPED_TRACE(machine.name + " as " + name);
      const bool is_same = name == machine.name || (name == "aarch64" && machine.name == "arm64");
      const std::string why =
          " is not a program for " + name + ": binary; name one that is, or another --machine";
      const Outcome launcher = Plan(System("one", name, "own", "binary"));
      const Outcome installer = Plan(System("one", name, "binary", "own"));
      if (is_same) {
        EXPECT_EQ(launcher.err + installer.err, "");
      } else {
        world_.ExpectRefused(launcher, "the launcher" + why);
        world_.ExpectRefused(installer, "the installer" + why);
      }
    }
  }
  EXPECT_EQ(Plan(System("one", "vax", "own", "binary")).err, "");
}

}  // namespace
}  // namespace kvl::test
