// Damages a small media in every way. kvl-media verify must refuse it each time, and name what is
// damaged.
//
// With KVL_ALL_DAMAGE in the environment, the tests try every kind of damage in all layouts, with
// and without a signature. Without KVL_ALL_DAMAGE they try a part of it, which takes seconds. At
// the end they print how many kinds they have tried.

#include "companion/verify/media_verify.h"
#include "tests/companion/sealed_world.h"

namespace kvl::test {
namespace {

/// Restores a file at the end: its contents, its mode and its kind.
class Kept {
 public:
  explicit Kept(const std::string& path)
      : path_(path), contents_(ReadFile(path)), mode_(ModeOf(path)) {}
  ~Kept() {
    fs::remove_all(path_);
    WriteFile(path_, contents_);
    SetMode(path_, mode_);
  }
  Kept(const Kept&) = delete;
  Kept& operator=(const Kept&) = delete;

  const std::string& Contents() const { return contents_; }

 private:
  std::string path_, contents_;
  unsigned mode_;
};

bool IsAllTried() {
  return std::getenv("KVL_ALL_DAMAGE") != nullptr;
}

struct Case {
  std::string layout;
  bool is_signed;
};
void PrintTo(const Case& row, std::ostream* stream) {
  *stream << row.layout << (row.is_signed ? ", signed" : "");
}

class DamagedMedia : public testing::TestWithParam<Case> {
 protected:
  void SetUp() override {
    if (GetParam().is_signed) {
      if (!SealedWorld::HasMinisign()) GTEST_SKIP() << "there is no minisign";
      world_.MakeKeys();
      const std::string text = ReadFile(world_.Path("key.pub"));
      request_.key = PublicKey::From(text);
      ASSERT_TRUE(request_.key);
    }
    Make("media");
    request_.directories = {world_.Path("media")};
    ASSERT_TRUE(VerifyMedia(request_).IsWhole());
  }

  void TearDown() override {
    if (IsSkipped()) return;
    EXPECT_TRUE(VerifyMedia(request_).IsWhole()) << "not put back";
  }

  static void TearDownTestSuite() {
    std::cout << tried_ << " kinds of damage, " << missed_ << " not refused or not named\n";
  }

  void Make(const std::string& directory) {
    Lines further;
    if (GetParam().is_signed) further = {"--sign", world_.Path("key")};
    world_.Make(GetParam().layout, further, directory);
  }

  /// Returns true for all but one of so many calls. With KVL_ALL_DAMAGE, returns false for all.
  bool IsLeftOut(int of_how_many) { return !IsAllTried() && ++met_ % of_how_many != 0; }

  /// Expects that verify refuses the media and names one of these paths, or any path if the list is
  /// empty. `what` describes the damage.
  void ExpectRefused(const std::string& what, const Lines& paths) {
    ++tried_;
    const VerifyReport report = VerifyMedia(request_);
    const bool is_named =
        std::any_of(report.flaws.begin(), report.flaws.end(), [&](const Flaw& flaw) {
          return paths.empty() || std::count(paths.begin(), paths.end(), flaw.path) != 0;
        });
    EXPECT_FALSE(report.IsWhole()) << what;
    EXPECT_TRUE(is_named) << what;
    if (report.IsWhole() || !is_named) ++missed_;
  }

  /// Returns the paths that verify may name when the contents of this file are changed. For a
  /// manifest it names the signature, or without one any file that does not fit the manifest.
  Lines NamesFor(const std::string& file) const {
    if (!file.ends_with("media.manifest")) return {world_.Path(file)};
    if (!GetParam().is_signed) return {};
    return {world_.Path(file), world_.Path(file) + ".minisig"};
  }

  /// Returns the directory of the media and every directory in it.
  Lines Directories() const {
    Lines directories = {world_.Path("media")};
    for (const auto& entry : fs::recursive_directory_iterator(world_.Path("media"))) {
      if (entry.is_directory()) directories.push_back(entry.path());
    }
    return directories;
  }

  SealedWorld world_;
  VerifyRequest request_;
  int met_ = 0;
  static inline int tried_ = 0, missed_ = 0;
};

TEST_P(DamagedMedia, IsRefusedWhicheverByteIsFlipped) {
  for (const std::string& file : world_.FilesOf()) {
    const Kept kept(world_.Path(file));
    for (std::size_t at = 0; at < kept.Contents().size(); ++at) {
      if (IsLeftOut(61)) continue;
      std::string changed = kept.Contents();
      changed[at] = static_cast<char>(changed[at] ^ (1 << at % 8));
      WriteFile(world_.Path(file), changed);
      ExpectRefused(file + ", byte " + std::to_string(at), NamesFor(file));
    }
  }
}

TEST_P(DamagedMedia, IsRefusedWhateverHappensToAFile) {
  const std::vector<std::pair<std::string, std::function<void(const std::string&)>>> changes = {
      {"append", [](const std::string& path) { std::ofstream(path, std::ios::app) << "\n"; }},
      {"cut off", [](const std::string& path) { fs::resize_file(path, fs::file_size(path) - 1); }},
      {"empty", [](const std::string& path) { fs::resize_file(path, 0); }},
      {"grow", [](const std::string& path) { fs::resize_file(path, 1ULL << 40U); }},
      {"delete", [](const std::string& path) { fs::remove(path); }},
      {"rename", [](const std::string& path) { fs::rename(path, path + "~"); }},
      {"mode", [](const std::string& path) { SetMode(path, ModeOf(path) ^ 0111U); }},
      {"closed mode", [](const std::string& path) { SetMode(path, ModeOf(path) ^ 0004U); }},
      {"open mode", [](const std::string& path) { SetMode(path, ModeOf(path) | 0002U); }},
      {"mode of others", [](const std::string& path) { SetMode(path, ModeOf(path) | 04000U); }},
      {"hard link", [](const std::string& path) { fs::create_hard_link(path, path + "~"); }},
      {"directory",
       [](const std::string& path) {
         fs::remove(path);
         fs::create_directory(path);
       }},
      {"pipe",
       [](const std::string& path) {
         fs::remove(path);
         ASSERT_EQ(::mkfifo(path.c_str(), 0644), 0);
       }},
      {"link", [this](const std::string& path) {
         fs::rename(path, world_.Path("aside"));
         fs::create_symlink(world_.Path("aside"), path);
       }}};
  for (const std::string& file : world_.FilesOf()) {
    const std::string path = world_.Path(file);
    for (const auto& [name, change] : changes) {
      if (IsLeftOut(3)) continue;
      const Kept kept(path);
      change(path);
      Lines names = NamesFor(file);
      if (name == "hard link") names = {path + "~"};
      ExpectRefused(name + " " + file, names);
      fs::remove(path + "~");
    }
  }
}

TEST_P(DamagedMedia, IsRefusedWithAnyTwoFilesExchanged) {
  const Lines files = world_.FilesOf();
  for (std::size_t i = 0; i < files.size(); ++i) {
    for (std::size_t j = 0; j < i; ++j) {
      if (IsLeftOut(7)) continue;
      const Kept one(world_.Path(files[i])), other(world_.Path(files[j]));
      if (one.Contents() == other.Contents()) continue;
      WriteFile(world_.Path(files[i]), other.Contents());
      WriteFile(world_.Path(files[j]), one.Contents());
      Lines names = NamesFor(files[i]), more = NamesFor(files[j]);
      if (names.empty() || more.empty()) names = more = {};
      names.insert(names.end(), more.begin(), more.end());
      ExpectRefused(files[i] + " for " + files[j], names);
    }
  }
}

TEST_P(DamagedMedia, IsRefusedWhateverHappensToADirectory) {
  for (const std::string& directory : Directories()) {
    const std::string path = directory + "/new";
    const std::vector<std::function<void()>> additions = {
        [&] { WriteFile(path, ""); }, [&] { fs::create_directory(path); },
        [&] { fs::create_symlink(".", path); },
        [&] { ASSERT_EQ(::mkfifo(path.c_str(), 0644), 0); }};
    for (const auto& add : additions) {
      add();
      ExpectRefused("add " + path, {path});
      fs::remove(path);
    }
    if (directory == world_.Path("media")) continue;
    const std::string aside = world_.Path("aside");
    fs::rename(directory, aside);
    ExpectRefused("delete " + directory, {directory});
    fs::create_directory_symlink(aside, directory);
    ExpectRefused("link " + directory, {directory});
    fs::remove(directory);
    WriteFile(directory, "");
    ExpectRefused("file " + directory, {directory});
    fs::remove(directory);
    fs::rename(aside, directory + "~");
    ExpectRefused("rename " + directory, {directory});
    fs::rename(directory + "~", directory);
  }
}

/// Makes two releases that differ in a file of each volume. Puts each file and each volume of one
/// into the other.
TEST_P(DamagedMedia, IsRefusedWithAnyPartOfAnotherRelease) {
  world_.Change("file payload/1/a ONE; file payload/2/a FOUR");
  Make("other");
  for (const std::string& file : world_.FilesOf("other")) {
    const std::string path = "media" + file.substr(std::string("other").size());
    const Kept kept(world_.Path(path));
    const std::string replayed = ReadFile(world_.Path(file));
    if (replayed == kept.Contents()) continue;
    WriteFile(world_.Path(path), replayed);
    ExpectRefused("replay " + path, NamesFor(path));
  }
  for (const std::string volume : {"1", "2"}) {
    const std::string path = world_.Path("media/" + volume), aside = world_.Path("aside");
    if (!fs::exists(world_.Path("other/" + volume))) continue;
    fs::rename(path, aside);
    fs::rename(world_.Path("other/" + volume), path);
    ExpectRefused("replay volume " + volume, {world_.Path("media/2/media.manifest")});
    fs::rename(path, world_.Path("other/" + volume));
    fs::rename(aside, path);
  }
}

std::vector<Case> Cases() {
  std::vector<Case> cases;
  for (const std::string layout : {"single", "flat", "sibling", "am"}) {
    const bool is_without = layout == "single" || layout == "am";
    if (is_without || IsAllTried()) cases.push_back({layout, false});
    if (!is_without || IsAllTried()) cases.push_back({layout, true});
  }
  return cases;
}

INSTANTIATE_TEST_SUITE_P(All, DamagedMedia, testing::ValuesIn(Cases()), [](const auto& row) {
  return row.param.layout + (row.param.is_signed ? "Signed" : "");
});

}  // namespace
}  // namespace kvl::test
