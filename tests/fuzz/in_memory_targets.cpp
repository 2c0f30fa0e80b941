// The targets that need no files.
#include "tests/fuzz/targets.h"
#include "tests/models/byte_source.h"
#include "tests/models/laws.h"

namespace kvl::test {
namespace {

/// A low byte stands for a whole word, so that the fuzzer soon finds options. The byte 255 stands
/// for a null pointer. Any other byte begins a text.
std::optional<std::string> NextArgument(ByteSource& bytes) {
  const std::size_t choice = bytes.Byte();
  if (choice < kCommandLineWords.size()) return kCommandLineWords[choice];
  if (choice == 255) return std::nullopt;
  const std::string text = bytes.Text();
  return text.substr(0, text.find('\0'));
}

}  // namespace

void FuzzCommandLine(const std::uint8_t* data, std::size_t size) {
  ByteSource bytes(data, size);
  ArgumentList arguments;
  while (!bytes.AtEnd()) arguments.push_back(NextArgument(bytes));
  CheckCommandLineLaws(arguments);
}

void FuzzPath(const std::uint8_t* data, std::size_t size) {
  ByteSource bytes(data, size);
  const std::string one = bytes.Text();
  CheckPathLaws(one);
  const std::string other = bytes.Text();
  CheckPathPairLaws(one, other);
  CheckPathPairLaws(one, one + "/" + other);
}

void FuzzSplit(const std::uint8_t* data, std::size_t size) {
  ByteSource bytes(data, size);
  const std::string choices = bytes.Text();
  CheckSplitLaws(choices);
  const std::vector<std::string> arguments = bytes.Texts();
  CheckQuotingLaws(arguments, choices);
  CheckInstallerCommandLaws(arguments);
}

void FuzzText(const std::uint8_t* data, std::size_t size) {
  ByteSource bytes(data, size);
  const std::size_t start = bytes.Below(8);
  const std::string text = bytes.Text(), what = bytes.Text(), with = bytes.Text();
  CheckNumberLaws(text);
  CheckReadLineLaws(text);
  CheckReplaceAllLaws(text, what, with, start);
}

}  // namespace kvl::test
