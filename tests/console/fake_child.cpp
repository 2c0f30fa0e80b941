#include "tests/console/fake_child.h"

#include "console/logger.h"
#include "console/run_command.h"
#include "console/signals.h"
#include "tests/support/outcome.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

constexpr char kReport[] = "report";
constexpr char kProgram[] = "installer";

}  // namespace

FakeChild::FakeChild() {
  directory_.Link(kProgram, BuiltProgram("fake_installer"));
}

std::string FakeChild::Program() const {
  return directory_.Path(kProgram);
}

Environment FakeChild::Env(Environment more) const {
  more["FAKE_REPORT"] = directory_.Path(kReport);
  return more;
}

ChildReport FakeChild::Report() const {
  const ChildReport report = ReadReport(directory_.Path(kReport));
  std::filesystem::remove(directory_.Path(kReport));
  return report;
}

Ran RunCaught(const std::string& command, bool wait) {
  int code = 0;
  const Outcome said = Catch([&] { code = RunBare(command, wait); });
  return {code, said.out, said.err};
}

int RunBare(const std::string& command, bool wait) {
  Logger logger;
  SignalScope signals;
  return RunCommand(command, wait, logger, signals);
}

}  // namespace kvl::test
