// ImageRoom computes the size of a disc image: never less than xorriso needs, and little more.
#include "companion/make/image_room.h"

#include "companion/make/payload_walk.h"
#include "tests/companion/xorriso.h"

namespace kvl::test {
namespace {

class ComputedImageSize : public testing::Test {
 protected:
  void SetUp() override {
    if (const std::string why = WhyNoXorriso(); !why.empty()) GTEST_SKIP() << why;
    directory_.MakeDir("tree");
  }

  void Write(const std::string& name, std::size_t size = 0) const {
    directory_.Write("tree/" + name, std::string(size, 'x'));
  }

  /// Expects the computed size of the tree to be that of its image, or at most so many blocks more.
  void ExpectFit(std::uint64_t most_over) const {
    ImageRoom room;
    const auto tree = ListPayload(KVLInsIO::OpenDirectory(directory_.Path("tree")), Links::kKept);
    for (const PayloadEntry& entry : tree) room.Add(entry);
    const std::uint64_t taken = ImageByHand(directory_.Path("tree"), directory_.Path("image"));
    EXPECT_GE(room.Bytes(), taken);
    EXPECT_LE(room.Bytes(), taken + most_over * kDiscBlock);
    EXPECT_EQ(room.Bytes() % kDiscBlock, 0U);
  }

  TestDirectory directory_;
};

TEST_F(ComputedImageSize, FitsAnEmptyTree) {
  ExpectFit(1);
}

TEST_F(ComputedImageSize, FitsFilesAroundTheSizeOfABlock) {
  for (const std::size_t size : {0U, 1U, 2047U, 2048U, 2049U, 4096U, 4097U})
    Write(std::to_string(size), size);
  ExpectFit(1);
}

TEST_F(ComputedImageSize, FitsManyTinyFiles) {
  for (int i = 0; i < 3000; ++i) Write(std::to_string(i % 70) + "/file-" + std::to_string(i), 1);
  ExpectFit(70);
}

TEST_F(ComputedImageSize, FitsManyEmptyDirectories) {
  for (int i = 0; i < 1000; ++i) directory_.MakeDir("tree/" + std::to_string(i));
  ExpectFit(16);
}

/// As identifiers of ISO 9660, the names clash.
TEST_F(ComputedImageSize, FitsNamesThatClash) {
  const std::string kind = "aA";
  for (unsigned i = 0; i < 1024; ++i) {
    std::string name = "l----------";
    for (unsigned bit = 0; bit < 10; ++bit) name[bit + 1] = kind[i >> bit & 1U];
    Write("short/" + name);
    Write("long/" + std::string(40, 'x') + name);
    Write("dots/" + name + ".txt");
    Write("odd/\xC3\xA4 " + name + "\xFF");
    directory_.MakeDir("tree/directories/" + name);
  }
  ExpectFit(64);
}

/// Each directory keeps to the limit of xorriso 1.5.4: 2048 bytes of names that do not fit into
/// records.
TEST_F(ComputedImageSize, FitsLongNames) {
  for (std::size_t length = 30; length <= 253; ++length) {
    const std::string name = std::to_string(length) + std::string(length - 3, 'n');
    Write(std::to_string(length / 10) + "/" + (length < 100 ? "0" : "") + name);
  }
  ExpectFit(32);
}

TEST_F(ComputedImageSize, FitsDeepDirectories) {
  std::string path;
  for (int level = 0; level < 30; ++level) {
    path += (level == 0 ? "" : "/") + std::string(60, 'd');
    Write(path + "/file", 10);
  }
  ExpectFit(8);
}

TEST_F(ComputedImageSize, FitsLinks) {
  for (const std::string part : {"a/", "../", "./", "name/", "a-longer-name/"}) {
    std::string target;
    for (int i = 0; target.size() + part.size() < 1024; ++i) {
      directory_.Link("tree/" + std::to_string(target.size()) + part + "link", target + "end");
      target += part;
      for (int more = 0; more < i && target.size() + part.size() < 1024; ++more) target += part;
    }
  }
  for (std::size_t length = 240; length < 256; ++length) {
    directory_.Link("tree/component/" + std::to_string(length) + "/l",
                    "a/" + std::string(length, 'c') + "/b");
  }
  ExpectFit(16);
}

TEST_F(ComputedImageSize, FitsARealTree) {
  const std::string real = "/usr/include/c++";
  if (!fs::exists(real)) GTEST_SKIP() << "there is no " << real;
  fs::copy(real, directory_.Path("tree"), fs::copy_options::recursive);
  ExpectFit(40);
}

TEST(ImageRoom, HasARecordForEachExtentOfALargeFile) {
  const auto bytes_with = [](std::uint64_t size) {
    ImageRoom room;
    room.Add({.name = std::string(200, 'n'), .size = size});
    return room.Bytes() - OnDisc(size);
  };
  constexpr std::uint64_t kExtent = 0xFFFF'F800;
  EXPECT_EQ(bytes_with(kExtent), bytes_with(1));
  EXPECT_EQ(bytes_with(20 * kExtent), bytes_with(1));  // all records lie before the files
  // 400 records of 254 bytes, and for each of them 112 bytes with the end of its name.
  EXPECT_GT(bytes_with(400 * kExtent), (18 + 400 * 254 / 2048 + 400 * 112 / 2048) * 2048U);
  EXPECT_EQ(bytes_with(400 * kExtent), bytes_with(399 * kExtent + 1));
}

TEST(ImageRoom, CountsEnoughForVeryLongLinks) {
  ImageRoom room;
  std::string target;
  while (target.size() < 4095) target += "a/";
  for (int i = 0; i < 10; ++i) {
    room.Add({.name = std::to_string(i), .type = EntryType::kLink, .target = target});
  }
  EXPECT_GT(room.Bytes(), 10 * 3 * 2048U);
  EXPECT_LT(room.Bytes(), 10 * 16 * 4096U);
}

}  // namespace
}  // namespace kvl::test
