#include "media/numbered_entries.h"

#include <numeric>

#include "tests/support/system_faults.h"
#include "tests/support/test_directory.h"

namespace kvl::test {
namespace {

using Numbers = std::vector<VolumeNumber>;
using Names = std::vector<std::string>;

constexpr VolumeNumber kGreatestInt = std::numeric_limits<std::int32_t>::max();
/// So many that ForEachNumber lists the directory.
constexpr NumberRange kMany = {2, kGreatestInt};

Numbers Visited(const std::string& directory, NumberRange range, std::string_view extension = "") {
  Numbers numbers;
  KVLInsIO::InsPath path(directory);
  ForEachNumber(path, extension, range, [&](VolumeNumber number) { numbers.push_back(number); });
  return numbers;
}

Numbers VisitedAmong(const Names& names, NumberRange range, std::string_view extension = "") {
  const TestDirectory directory;
  for (const std::string& name : names) directory.Write(name, "");
  return Visited(directory.Path(), range, extension);
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
    EXPECT_EQ(Visited(place, {2, 101}), AllFrom(2, 100)) << place;
    EXPECT_THAT(Visited(place, {2, 2}), ElementsAre(2)) << place;
  }
}

TEST(ForEachNumber, VisitsThoseWithAnEntryInAscendingOrder) {
  struct Row {
    std::string name;
    Names entries;
    NumberRange range;
    Numbers visited;
  };
  const std::vector<Row> rows = {
      {"empty range", {"2"}, {2, 1}, {}},
      {"default range", {"2"}, {}, {}},
      {"range below nothing", {"2"}, {2, -kGreatestInt}, {}},
      {"both ends", {"4", "5", "6", "1004", "1005", "1006"}, {5, 1005}, {5, 6, 1004, 1005}},
      {"from one on", {"0", "1", "01", "2"}, {1, kGreatestInt}, {1, 2}},
      {"few from one on", {"0", "1", "01", "2"}, {1, 2}, {1, 2}},
      {"beyond the greatest int",
       {"2147483648", "9223372036854775808"},
       {2, kGreatestInt + 98},
       {kGreatestInt + 1}},
      {"other names",
       {"02", "002", "0", "-3", "+4", " 5", "6 ", "7a", "a8", "9.txt", "1e1", "0x10", "10\n",
        "99999999999999999999999", "\xd9\xa3"},
       kMany,
       {}},
  };
  for (const Row& row : rows)
    EXPECT_EQ(VisitedAmong(row.entries, row.range), row.visited) << row.name;
}

TEST(ForEachNumber, VisitsEntriesOfAnyKind) {
  const TestDirectory directory;
  for (const std::string name : {"10", "9", "2147483647", "100", "2"}) directory.MakeDir(name);
  directory.Write("7", "");
  directory.Link("8", "nowhere");
  EXPECT_THAT(Visited(directory.Path(), kMany), ElementsAre(2, 7, 8, 9, 10, 100, kGreatestInt));
}

TEST(ForEachNumber, ComparesTheExtensionWithoutRegardToCase) {
  const Names texts = {"2.txt",  "3.TXT",  "4.Txt",  "5.txt",     "5.TXT",   "6",        "7.tx",
                       "8.txt2", "9.txt ", "10_txt", "11.T\xd8T", "12..txt", "13\x0etxt"};
  EXPECT_THAT(VisitedAmong(texts, kMany, ".txt"), ElementsAre(2, 3, 4, 5));
  const Names letters = {"2.AZ", "3.aZ", "4.Az", "5.!Z", "6.A:", "7.@z", "8.a["};
  EXPECT_THAT(VisitedAmong(letters, kMany, ".az"), ElementsAre(2, 3, 4));
  EXPECT_THAT(VisitedAmong(letters, kMany, ".AZ"), ElementsAre(2, 3, 4));
  EXPECT_THAT(VisitedAmong(letters, kMany, ".`z"), IsEmpty());
  EXPECT_THAT(VisitedAmong(letters, kMany, ".a{"), IsEmpty());
}

TEST(ForEachNumber, VisitsEveryNumberWhereNothingCanBeListed) {
  const TestDirectory directory;
  const std::string file = directory.Write("7", "");
  EXPECT_EQ(Visited(directory.Path("missing"), {5, 1004}), AllFrom(5, 1000));
  EXPECT_EQ(Visited(file, {5, 1004}), AllFrom(5, 1000));
  for (const int names : {0, 3}) {  // none, and all of them including "." and ".."
    const FailingCall list_breaks_off(FailingCall::kReadDir, EIO, /*after=*/names);
    EXPECT_EQ(Visited(directory.Path(), {5, 1004}), AllFrom(5, 1000)) << names;
  }
}

TEST(ForEachNumber, OfAnEmptyDirectoryListsTheRoot) {
  EXPECT_EQ(Visited("", kMany), Visited("/", kMany));
}

}  // namespace
}  // namespace kvl::test
