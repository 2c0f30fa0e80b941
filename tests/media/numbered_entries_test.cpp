#include "media/numbered_entries.h"

#include <numeric>

#include "tests/support/outcome.h"
#include "tests/support/system_faults.h"
#include "tests/support/test.h"
#include "tests/support/test_directory.h"

namespace kvl::test {
namespace {

using KVLInsIO::InsPath;
using Numbers = std::vector<VolumeNumber>;

constexpr VolumeNumber kGreatestInt = std::numeric_limits<std::int32_t>::max();

Numbers Visited(const std::string& directory, std::string_view extension, NumberRange range) {
  Numbers numbers;
  ForEachNumber(InsPath(directory), extension, range,
                [&](VolumeNumber number) { numbers.push_back(number); });
  return numbers;
}

Numbers AllFrom(VolumeNumber first, std::size_t count) {
  Numbers numbers(count);
  std::iota(numbers.begin(), numbers.end(), first);
  return numbers;
}

TEST(ForEachNumber, VisitsFewNumbersWithoutALookAtTheDirectory) {
  const TestDirectory directory;
  directory.Write("3", "");
  for (const std::string& place : {directory.Path(), directory.Path("missing"), std::string()}) {
    EXPECT_EQ(Visited(place, "", {2, 101}), AllFrom(2, 100)) << place;
    EXPECT_THAT(Visited(place, "", {2, 2}), ElementsAre(2)) << place;
  }
}

TEST(ForEachNumber, OfAnEmptyRangeVisitsNothing) {
  const TestDirectory directory;
  directory.Write("2", "");
  EXPECT_THAT(Visited(directory.Path(), "", {2, 1}), IsEmpty());
  EXPECT_THAT(Visited(directory.Path(), "", {}), IsEmpty());
  EXPECT_THAT(Visited(directory.Path(), "", {2, -kGreatestInt}), IsEmpty());
}

TEST(ForEachNumber, OfManyNumbersVisitsThoseWithAnEntryInAscendingOrder) {
  const TestDirectory directory;
  for (const std::string name : {"10", "9", "2147483647", "100", "2"}) directory.MakeDir(name);
  directory.Write("7", "");
  directory.Link("8", "nowhere");
  EXPECT_THAT(Visited(directory.Path(), "", {2, kGreatestInt}),
              ElementsAre(2, 7, 8, 9, 10, 100, kGreatestInt));
}

TEST(ForEachNumber, KeepsToTheEndsOfTheRange) {
  const TestDirectory directory;
  for (const std::string name : {"4", "5", "6", "1004", "1005", "1006"}) directory.MakeDir(name);
  EXPECT_THAT(Visited(directory.Path(), "", {5, 1005}), ElementsAre(5, 6, 1004, 1005));
}

TEST(ForEachNumber, MayBeginAtOne) {
  const TestDirectory directory;
  for (const std::string name : {"0", "1", "01", "2"}) directory.MakeDir(name);
  EXPECT_THAT(Visited(directory.Path(), "", {1, kGreatestInt}), ElementsAre(1, 2));
  EXPECT_THAT(Visited(directory.Path(), "", {1, 2}), ElementsAre(1, 2));
}

TEST(ForEachNumber, TakesNumbersBeyondTheGreatestInt) {
  const TestDirectory directory;
  directory.MakeDir("2147483648");
  directory.MakeDir("9223372036854775808");
  EXPECT_THAT(Visited(directory.Path(), "", {2, kGreatestInt + 98}), ElementsAre(kGreatestInt + 1));
}

TEST(ForEachNumber, TakesNoOtherNames) {
  const TestDirectory directory;
  for (const std::string name : {"02", "002", "0", "-3", "+4", " 5", "6 ", "7a", "a8", "9.txt",
                                 "1e1", "0x10", "10\n", "99999999999999999999999", "\xd9\xa3"}) {
    directory.Write(name, "");
  }
  EXPECT_THAT(Visited(directory.Path(), "", {2, kGreatestInt}), IsEmpty());
}

TEST(ForEachNumber, ComparesTheExtensionWithoutRegardToCase) {
  const TestDirectory directory;
  for (const std::string name : {"2.txt", "3.TXT", "4.Txt", "5.txt", "5.TXT", "6", "7.tx", "8.txt2",
                                 "9.txt ", "10_txt", "11.T\xd8T", "12..txt", "13\x0etxt"}) {
    directory.Write(name, "");
  }
  EXPECT_THAT(Visited(directory.Path(), ".txt", {2, kGreatestInt}), ElementsAre(2, 3, 4, 5));
}

TEST(ForEachNumber, TakesAllLettersOfTheAlphabetInAnyCaseAndNothingElse) {
  const TestDirectory directory;
  for (const std::string name : {"2.AZ", "3.aZ", "4.Az", "5.!Z", "6.A:", "7.@z", "8.a["}) {
    directory.Write(name, "");
  }
  EXPECT_THAT(Visited(directory.Path(), ".az", {2, kGreatestInt}), ElementsAre(2, 3, 4));
  EXPECT_THAT(Visited(directory.Path(), ".AZ", {2, kGreatestInt}), ElementsAre(2, 3, 4));
  EXPECT_THAT(Visited(directory.Path(), ".`z", {2, kGreatestInt}), IsEmpty());
  EXPECT_THAT(Visited(directory.Path(), ".a{", {2, kGreatestInt}), IsEmpty());
}

TEST(ForEachNumber, VisitsEveryNumberWhereNothingCanBeListed) {
  const TestDirectory directory;
  directory.Write("file", "");
  for (const std::string& place : {directory.Path("missing"), directory.Path("file")}) {
    EXPECT_EQ(Visited(place, "", {5, 1004}), AllFrom(5, 1000)) << place;
  }
}

TEST(ForEachNumber, VisitsEveryNumberWhereTheListBreaksOff) {
  const TestDirectory directory;
  directory.Write("7", "");
  const FailingCall broken(FailingCall::kReadDir, EIO);
  EXPECT_EQ(Visited(directory.Path(), "", {5, 1004}), AllFrom(5, 1000));
}

TEST(ForEachNumber, OfAnEmptyDirectoryListsTheRoot) {
  EXPECT_EQ(Visited("", "", {2, kGreatestInt}), Visited("/", "", {2, kGreatestInt}));
}

}  // namespace
}  // namespace kvl::test
