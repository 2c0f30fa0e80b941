#include "tests/support/manual.h"

#include <fnmatch.h>

namespace kvl::test {
namespace {

using Lines = std::vector<std::string>;

std::vector<PageLine> Read(const std::string& page) {
  std::vector<PageLine> lines;
  std::ifstream file(SourceFile("docs/man/" + page));
  PageLine here;
  Lines lists;
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with(".\\\"")) continue;
    if (line.starts_with(".Sh ")) here.section = line.substr(4), here.subsection.clear();
    if (line.starts_with(".Ss ")) here.subsection = line.substr(4);
    if (line.starts_with(".Bl ")) lists.push_back(line.substr(4, line.find(' ', 4) - 4));
    if (line == ".El") lists.pop_back();
    here.list = lists.empty() ? "" : lists.back();
    here.text = Replaced(Replaced(line, R"(\\\(dq)", "\""), R"(\\([-e&]))", "$1");
    lines.push_back(here);
  }
  return lines;
}

Lines Together(Lines lines, const Lines& more) {
  lines.insert(lines.end(), more.begin(), more.end());
  return lines;
}

const Lines& LauncherMessages(const std::string& subsection) {
  static std::map<std::string, Lines> known;
  Lines& messages = known[subsection];
  if (messages.empty()) messages = MessagesOf("kvl-launcher.1", "DIAGNOSTICS", subsection);
  return messages;
}

/// Findings are shown as path, text and remedy, and not all have a path.
const Lines& ReportMessages() {
  static const Lines messages = [] {
    Lines all;
    for (const std::string& line : MessagesOf("kvl-media.1", "THE REPORT")) {
      if (!line.ends_with("<path>: <text>; <remedy>")) all.push_back(line);
    }
    for (const std::string& finding : MessagesOf("kvl-media.1", "FINDINGS")) {
      for (const std::string severity : {"error ", "warning "}) {
        all.insert(all.end(), {severity + finding, severity + "<path>: " + finding});
      }
    }
    return all;
  }();
  return messages;
}

const Lines& LibraryMessages() {
  static const Lines messages = MessagesOf("KVLInsIO.3", "ERRORS");
  return messages;
}

const Lines& MediaMessages() {
  static const Lines messages =
      Together(MessagesOf("kvl-media.1", "DIAGNOSTICS"), LibraryMessages());
  return messages;
}

/// For fnmatch.
std::string PatternOf(const std::string& message) {
  std::string pattern;
  for (std::size_t at = 0; at < message.size(); ++at) {
    const std::size_t close = message[at] == '<' ? message.find('>', at) : message.npos;
    if (std::strchr("*?[]\\", message[at]) != nullptr) pattern += '\\';
    pattern += close == message.npos ? message[at] : '*';
    if (close != message.npos) at = close;
  }
  return pattern;
}

void ExpectLine(const std::string& line, const Lines& messages, const char* page) {
  EXPECT_TRUE(IsOneOf(line, messages)) << "not in " << page << ": " << line;
}

void ExpectLauncherLine(const std::string& line) {
  const auto expect = [&](const std::string& level, const Lines& messages) {
    if (line.starts_with(level)) ExpectLine(line.substr(7), messages, "kvl-launcher.1");
  };
  expect("ERROR: ", Together(LauncherMessages("Errors"), LauncherMessages("Why staging failed")));
  expect(" WARN: ", LauncherMessages("Warnings"));
  expect(" INFO: ", LauncherMessages("Information"));
  if (!MatchOf(line, " {7}([^ ].*)").empty()) expect("       ", LauncherMessages(""));
}

}  // namespace

const std::vector<PageLine>& ReadPage(const std::string& page) {
  static std::map<std::string, std::vector<PageLine>> known;
  const auto found = known.find(page);
  return found != known.end() ? found->second : known[page] = Read(page);
}

Lines MessagesOf(const std::string& page, const std::string& section,
                 const std::string& subsection) {
  Lines messages;
  for (const PageLine& line : ReadPage(page)) {
    if (line.section != section || line.list != "-diag" || !line.text.starts_with(".It ") ||
        (!subsection.empty() && line.subsection != subsection)) {
      continue;
    }
    messages = Together(messages, SplitAt(line.text.substr(4), "<line feed>"));
  }
  return messages;
}

bool IsOneOf(std::string text, const Lines& messages) {
  std::replace(text.begin(), text.end(), '\0', '?');  // where fnmatch would stop
  return std::any_of(messages.begin(), messages.end(), [&](const std::string& message) {
    return ::fnmatch(PatternOf(message).c_str(), text.c_str(), 0) == 0;
  });
}

void ExpectInManual(const Outcome& said) {
  if (ReadPage("kvl-launcher.1").empty()) return;
  const bool is_report = said.out.starts_with("Media ");
  std::istringstream out(said.out), err(said.err);
  for (std::string line; std::getline(out, line);) {
    ExpectLauncherLine(line);
    if (is_report && !line.starts_with(' ')) {
      ExpectLine(Replaced(line, "^(\\w+) +", "$1 "), ReportMessages(), "kvl-media.1");
    }
  }
  for (std::string line; std::getline(err, line);) {
    ExpectLauncherLine(line);
    const std::string name = "kvl-media: ";
    if (line.starts_with(name)) {
      ExpectLine(line.substr(name.size()), MediaMessages(), "kvl-media.1");
    }
  }
}

void ExpectInLibraryManual(const std::string& what) {
  std::istringstream lines(what);
  for (std::string line; std::getline(lines, line) && !LibraryMessages().empty();) {
    ExpectLine(line, LibraryMessages(), "KVLInsIO.3");
  }
}

}  // namespace kvl::test
