// A media and its disc images, which make writes.
#pragma once

#include "tests/companion/sealed_world.h"
#include "tests/companion/xorriso.h"

namespace kvl::test {

class MakeIso : public testing::Test {
 protected:
  void SetUp() override {
    if (const std::string why = WhyNoXorriso(); !why.empty()) GTEST_SKIP() << why;
    world_.Change("file payload/2/b/larger " + std::string(5000, 'x') +
                  "; link payload/2/b/l ../a");
  }

  /// Makes a media of one volume in the single layout, and of two volumes in others.
  Outcome Make(const std::string& layout, const Lines& further,
               const std::string& directory = "media", const Environment& env = {},
               const std::function<void()>& before = {}) const {
    Lines call = {"make", "--tag", "T 1", "--installer", "setup", "--launcher", "launcher"};
    call.insert(call.end(), further.begin(), further.end());
    const Lines rest = layout == "single"
                           ? Lines{"payload/2", directory}
                           : Lines{"--presorted", "--layout", layout, "payload", directory};
    call.insert(call.end(), rest.begin(), rest.end());
    Environment all = {{"PATH", "{bin}:/usr/bin:/bin"}};
    for (const auto& [name, value] : env) all[name] = value;
    return world_.Companion(call, all, before);
  }

  /// Puts a shell script with these lines in the place of xorriso.
  void PutInItsPlace(const std::string& lines) const {
    SetMode(world_.Directory().Write("bin/xorriso", "#!/bin/sh\n" + lines), 0755);
  }

  std::string Size(const std::string& image) const {
    return std::to_string(fs::file_size(world_.Path(image)));
  }

  /// Expects the image to hold what the directory holds, with modes, links and times, and the
  /// superuser to own everything on it.
  void ExpectHolds(const std::string& image, const std::string& directory) const {
    SCOPED_TRACE(image);
    const std::string path = world_.Path(image), unpacked = world_.Path("unpacked");
    Unpack(path, unpacked);
    EXPECT_EQ(DescribeTree(unpacked), DescribeTree(world_.Path(directory)));
    for (const auto& entry : fs::recursive_directory_iterator(unpacked)) {
      if (entry.is_symlink()) continue;
      const fs::path name = entry.path().lexically_relative(unpacked);
      EXPECT_EQ(entry.last_write_time(), fs::last_write_time(world_.Path(directory) / name))
          << name;
    }
    const Outcome list = RunProgram(
        {{kXorriso, "-no_rc", "-indev", "stdio:" + path, "-find", "/", "-exec", "lsdl"}});
    EXPECT_THAT(MatchesIn("\n" + list.out, "\n[-dlrwx]{10} +[0-9]+ 0 +0 "),
                testing::SizeIs(DescribeTree(unpacked).size() + 1));
    fs::remove_all(unpacked);
  }

  /// Expects the media to be whole, and no image to exist, not even a part of one.
  void ExpectOnlyTheMedia(const std::string& media, const std::string& volumes = "") const {
    EXPECT_THAT(world_.Verify({media}).status, 0);
    for (const auto& entry : fs::recursive_directory_iterator(world_.Path("."))) {
      EXPECT_EQ(entry.path().string().find(".iso"), std::string::npos) << entry.path() << volumes;
    }
  }

  SealedWorld world_;
};

}  // namespace kvl::test
