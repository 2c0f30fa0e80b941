// Prints the tables that the code uses and the manual shows, a line for each row: page, place, row.
// All of the product is linked into it, so that its texts can be looked for in it, too.

#include <csignal>
#include <iostream>
#include <set>
#include <string>

#include "companion/check/finding_catalogue.h"
#include "companion/program.h"
#include "companion/report/json_report.h"
#include "companion/report/report_words.h"
#include "companion/report/verify_report.h"
#include "console/child_process.h"
#include "environment/variables.h"
#include "launcher/command_line.h"
#include "launcher/exit_status.h"
#include "tests/support/pattern.h"

namespace kvl {
namespace {

template <typename Rows>
void Print(const std::string& place, const Rows& rows) {
  for (const auto& row : rows) std::cout << place << ": " << row << "\n";
}

void PrintLauncherTables() {
  const std::string variables = "kvl-launcher.1 ENVIRONMENT, Variables ";
  Print(variables + "that are read", variables::kRead);
  Print(variables + "set by the search for volumes", variables::kOfMediaScan);
  Print(variables + "set by the run", variables::kOfRunSequence);
  Print(variables + "set for the installer", variables::kOfEnvironmentSetup);
  Print(variables + "set when the installer is started", variables::kOfProcessStart);
  for (const CommandLineOption& option : CommandLineOptions()) {
    std::cout << "kvl-launcher.1 OPTIONS: " << option.name << "\n";
  }
  std::set<int> statuses = {kNoExitCode & 0xFF, 128 + SIGABRT};  // as a shell shows them
  for (const ExitStatus status : {ExitStatus::kBadCommandLine, ExitStatus::kNoInstaller,
                                  ExitStatus::kStagingFailed, ExitStatus::kBlankInInstallerMedia}) {
    statuses.insert(static_cast<int>(status));
  }
  Print("kvl-launcher.1 EXIT STATUS", statuses);
  std::cout << "kvl-launcher.1 EXIT STATUS: 0 to " << kHighestExitCode << "\n";
}

void PrintJsonTables() {
  MediaReport report;
  std::set<std::string> words = {LayoutOf(report)};
  report.volumes_looked_for = true;
  report.volumes.count = 2;
  words.insert(LayoutOf(report));  // not known
  words.insert(kLayoutNames.begin(), kLayoutNames.end());
  // More than any enumeration has; a value beyond counts as one of the others.
  for (int i = 0; i < 64; ++i) {
    words.insert({CodeOf(Expectation(i)), CodeOf(InstallerSource(i)), CodeOf(Severity(i)),
                  CodeOf(VolumeState(i)), CodeOf(NameSource(i))});
  }
  for (int i = 0; i <= static_cast<int>(FlawKind::kUnreadable); ++i) {
    words.emplace(CodeOf(FlawKind(i)));
  }
  Print("kvl-media.1 JSON, words", words);

  report.staged = true;  // so that the report has one of everything
  report.volumes.rows.emplace_back();
  report.findings.Add(FindingKind::kColonInPath, "");
  MakeReport make_report;
  make_report.volumes.emplace_back();
  VerifyReport verified;
  verified.flaws.push_back({FlawKind::kMissing, ""});
  const std::string json = JsonReport(report) + JsonReport(make_report) + VerifyJson(verified);
  std::set<std::string> keys;
  for (const test::Groups& key : test::MatchesIn(json, "\"(\\w+)\":")) keys.insert(key[1]);
  Print("kvl-media.1 JSON, keys", keys);
}

void PrintFindings() {
  for (const FindingRow& row : FindingCatalogue()) {
    std::cout << "kvl-media.1 FINDINGS: " << row.code << "\n"
              << "kvl-media.1 FINDINGS: " << row.text << "; " << row.remedy << "\n";
  }
}

}  // namespace
}  // namespace kvl

int main() {
  kvl::PrintLauncherTables();
  kvl::PrintJsonTables();
  kvl::PrintFindings();
  kvl::Print("kvl-media.1 EXIT STATUS", std::set{kvl::kFine, kvl::kProblems, kvl::kBadCall,
                                                 kvl::kNotReadToTheEnd, kvl::kFineInPart});
}
