#include "tests/console/fake_child.h"

#include "console/logger.h"
#include "console/run_command.h"
#include "console/signals.h"

namespace kvl::test {

FakeChild::FakeChild(const Environment& more) : env_(more) {
  directory_.Link("installer", BuiltProgram("fake_installer"));
  ::setenv("FAKE_REPORT", directory_.Path("report").c_str(), 1);
}

ChildReport FakeChild::Report() const {
  const ChildReport report = ReadReport(directory_.Path("report"));
  fs::remove(directory_.Path("report"));
  return report;
}

Outcome RunCaught(const std::string& command, bool wait) {
  int code = 0;
  Outcome outcome = Catch([&] { code = RunBare(command, wait); });
  outcome.status = code;
  return outcome;
}

int RunBare(const std::string& command, bool wait) {
  Logger logger;
  SignalScope signals;
  return RunCommand(command, wait, logger, signals);
}

}  // namespace kvl::test
