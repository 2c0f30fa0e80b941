// Digests, lists of files and manifests. Each is read from the text that it writes, and from no
// other text.

#include "companion/names/layout_name.h"
#include "companion/seal/file_list.h"
#include "companion/seal/listed_path.h"
#include "companion/seal/manifest.h"
#include "tests/companion/check_world.h"
#include "tests/support/outcome.h"
#include "tests/support/test_directory.h"

namespace kvl::test {
namespace {

using testing::ThrowsMessage;

constexpr char kOfNothing[] = "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855";
constexpr char kOfAbc[] = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";

TEST(Digest, IsTheSameHoweverTheBytesAreSplit) {
  EXPECT_EQ(DigestOf("").Hex(), kOfNothing);
  EXPECT_EQ(DigestOf("abc").Hex(), kOfAbc);
  const std::string million(1'000'000, 'a');
  Hasher hasher;
  for (std::size_t at = 0, length = 1; at < million.size(); at += length, length = 2 * length + 1) {
    hasher.Add(std::string_view(million).substr(at, length));
  }
  EXPECT_EQ(hasher.Size(), million.size());
  EXPECT_EQ(hasher.Finish().Hex(),
            "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

TEST(Digest, IsReadFromItsOwnTextOnly) {
  const std::string text = kOfAbc;
  EXPECT_EQ(Digest::FromHex(text), DigestOf("abc"));
  for (const std::string& other : {std::string(), text.substr(1), text + "0", "B" + text.substr(1),
                                   "g" + text.substr(1), text.substr(1) + " "}) {
    EXPECT_EQ(Digest::FromHex(other), std::nullopt) << other;
  }
}

TEST(ListedPath, ConsistsOfNamesWithSingleSlashes) {
  for (const std::string path : {"a", "a/b", "...", ".a/b..", " ", "\xFF/\\", "a\nb"}) {
    EXPECT_TRUE(IsListedPath(path)) << path;
  }
  for (const std::string& path : {std::string(), std::string("a\0b", 3)}) {
    EXPECT_FALSE(IsListedPath(path));
  }
  for (const std::string path :
       {"/", "/a", "a/", "a//b", ".", "..", "a/.", "./a", "a/../b", "../a"}) {
    EXPECT_FALSE(IsListedPath(path)) << path;
  }
}

TEST(PathOrder, IsTheOrderOfAWalkThroughATree) {
  const Lines walk = {"", "a", "a/b", "a/b/c", "a/b-c", "a\x01", "a-b", "aa", "\xFF"};
  for (std::size_t i = 0; i < walk.size(); ++i) {
    for (std::size_t j = 0; j < walk.size(); ++j) {
      EXPECT_EQ(PathOrder()(walk[i], walk[j]), i < j) << walk[i] << " " << walk[j];
    }
  }
}

TEST(LinkTarget, StaysInsideTheVolume) {
  for (const auto& [path, target] :
       std::vector<std::pair<std::string, std::string>>{{"l", "a"},
                                                        {"l", "."},
                                                        {"l", "a/.."},
                                                        {"l", "a//b/"},
                                                        {"l", "..."},
                                                        {"d/l", ".."},
                                                        {"d/l", ".././d/a/../"},
                                                        {"d/e/l", "../../a\n\xFF\\"}}) {
    EXPECT_TRUE(LeadsInside(path, target)) << path << " " << target;
  }
  for (const auto& [path, target] :
       std::vector<std::pair<std::string, std::string>>{{"l", ""},
                                                        {"l", "/"},
                                                        {"d/l", "/d/l"},
                                                        {"l", std::string("a\0b", 3)},
                                                        {"l", ".."},
                                                        {"l", "../a"},
                                                        {"l", "a/../.."},
                                                        {"d/l", "../../a"},
                                                        {"d/l", "..//../a"},
                                                        {"d/l", "../../d/l"},
                                                        {"d/l", "a/../../../d/e"}}) {
    EXPECT_FALSE(LeadsInside(path, target)) << path << " " << target;
  }
}

/// Returns a list of files with these paths and one digest for all.
std::string ListOf(const Lines& paths) {
  std::string text;
  for (const std::string& path : paths) text += LineOf({path, DigestOf("abc")});
  return text;
}

/// Reads a list in pieces of so many bytes, and returns its files.
std::vector<ListedFile> FilesIn(std::string_view text, std::size_t piece = 1U << 20U) {
  std::vector<ListedFile> files;
  FileListReader reader([rest = text, piece](std::span<char> room) mutable {
    const std::size_t length = rest.copy(room.data(), std::min(room.size(), piece));
    rest.remove_prefix(length);
    return length;
  });
  while (const std::optional<ListedFile> file = reader.Next()) files.push_back(*file);
  EXPECT_EQ(reader.Finish(), DigestOf(text));
  return files;
}

TEST(FileList, HasALineOfSha256sumForEachFile) {
  const std::string digest = kOfAbc;
  const std::vector<ListedFile> files = {{" a  b", DigestOf("abc")},
                                         {"a\tb", DigestOf("abc")},
                                         {"a\\n\nb\rc", DigestOf("abc")},
                                         {"d/\xFF", DigestOf("")}};
  std::string text;
  for (const ListedFile& file : files) text += LineOf(file);
  EXPECT_EQ(text, digest + "   a  b\n" + digest + "  a\tb\n\\" + digest + "  a\\\\n\\nb\\rc\n" +
                      kOfNothing + "  d/\xFF\n");
  for (const std::size_t piece : {1U, 2U, 63U, 100'000U}) EXPECT_EQ(FilesIn(text, piece), files);
  EXPECT_THAT(FilesIn(""), IsEmpty());
}

TEST(FileList, HasNoLimitButEachLineHasOne) {
  const std::string longest(kLongestLine - 100, 'a');
  const std::string text = ListOf({longest, "b"});
  EXPECT_EQ(FilesIn(text),
            (std::vector<ListedFile>{{longest, DigestOf("abc")}, {"b", DigestOf("abc")}}));
  const std::string longer = ListOf({std::string(kLongestLine + 40'000, 'a'), "b"});
  EXPECT_THAT([&] { FilesIn(longer); },
              ThrowsMessage<RefusedText>("line 1: longer than 1048576 bytes"));
}

TEST(FileList, IsRefusedWithALineNumberAndAReason) {
  const std::string digest = kOfAbc, sum = digest + "  ";
  const std::vector<std::pair<std::string, std::string>> rows = {
      {sum + "a", "line 1: the line feed at its end is missing"},
      {ListOf({"a"}) + sum, "line 2: the line feed at its end is missing"},
      {"\n", "line 1: it does not begin with a digest"},
      {"\\\n", "line 1: it does not begin with a digest"},
      {digest.substr(1) + "  a\n", "line 1: it does not begin with a digest"},
      {"B" + sum.substr(1) + "a\n", "line 1: it does not begin with a digest"},
      {"# comment\n", "line 1: it does not begin with a digest"},
      {digest + "\n", "line 1: two blanks behind the digest are missing"},
      {digest + " a\n", "line 1: two blanks behind the digest are missing"},
      {digest + " *a\n", "line 1: two blanks behind the digest are missing"},
      {sum + "\n", "line 1: the path is not one inside the volume"},
      {sum + "./a\n", "line 1: the path is not one inside the volume"},
      {sum + "/a\n", "line 1: the path is not one inside the volume"},
      {sum + "a/../b\n", "line 1: the path is not one inside the volume"},
      {sum + std::string("a\0b\n", 4), "line 1: the path is not one inside the volume"},
      {sum + "a\\\\b\n", "line 1: a backslash or line break is not escaped correctly"},
      {sum + "a\r\n", "line 1: a backslash or line break is not escaped correctly"},
      {"\\" + sum + "a\n", "line 1: a backslash or line break is not escaped correctly"},
      {"\\" + sum + "a\\\n", "line 1: a backslash or line break is not escaped correctly"},
      {"\\" + sum + "a\\tb\n", "line 1: a backslash or line break is not escaped correctly"},
      {"\\" + sum + "a\\\\\r\n", "line 1: a backslash or line break is not escaped correctly"},
      {ListOf({"a", "a"}), "line 2: the path is repeated or out of order"},
      {ListOf({"a", "b-c", "b/c"}), "line 3: the path is repeated or out of order"},
      {ListOf({"\xFF", "a"}), "line 2: the path is repeated or out of order"},
  };
  for (const auto& [text, message] : rows) {
    EXPECT_THAT([&text = text] { FilesIn(text); }, ThrowsMessage<RefusedText>(message)) << text;
  }
}

TEST(FileList, IsAcceptedBySha256sum) {
  const TestDirectory directory;
  Lines names = {" ",    "a  b", "a\\b",         "a\\nb", "\\",  "*",  "-c",
                 "\xFF", "#",    "d e/\\/\xC3(", "a\tb",  "'\"", "$x", "\xC3\xA4"};
  std::sort(names.begin(), names.end());
  std::string list, said;
  for (const std::string& name : names) {
    directory.Write(name, "of " + name);
    list += LineOf({name, DigestOf("of " + name)});
    said += Escaped(name, Escapes::kOfLines) + ": OK\n";
  }
  directory.Write("list", list);
  const auto check = [&] {
    return RunProgram({{"/usr/bin/sha256sum", "-c", "--strict", "list"}, {}, directory.Path()});
  };
  Outcome seen = check();
  seen.out.erase(std::remove(seen.out.begin(), seen.out.end(), '\\'), seen.out.end());
  said.erase(std::remove(said.begin(), said.end(), '\\'), said.end());
  EXPECT_EQ(seen, (Outcome{0, said, ""}));
  directory.Write("\\", "other");
  EXPECT_EQ(check().status, 1);
}

/// Returns a manifest of two volumes, the first with everything that a volume can have.
Manifest Example() {
  const ManifestVolume first = {
      .files = 3,
      .bytes = 18'446'744'073'709'551'615U,
      .list = DigestOf("abc"),
      .directories = {"inst", "inst/b", "inst-c", "payload"},
      .programs = {"inst/a\tb", "inst/b/\\", "setup"},
      .links = {{"a", "payload/x"}, {"payload/\n", "../inst/b/c\td\r\\"}}};
  return {.tag = "T 1\xFF\\", .layout = Layout::kSibling, .volumes = {first, {}}};
}

constexpr char kExample[] =
    "kvl-media manifest 1\n"
    "tag T 1\xFF\\\n"
    "layout sibling\n"
    "volumes 2\n"
    "volume 1 3 18446744073709551615 "
    "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad\n"
    "directory inst\n"
    "directory inst/b\n"
    "directory inst-c\n"
    "directory payload\n"
    "program inst/a\\tb\n"
    "program inst/b/\\\\\n"
    "program setup\n"
    "link a\tpayload/x\n"
    "link payload/\\n\t../inst/b/c\\td\\r\\\\\n"
    "volume 2 0 0 0000000000000000000000000000000000000000000000000000000000000000\n"
    "end\n";

TEST(Manifest, SaysWhatBelongsToAMedia) {
  EXPECT_EQ(TextOf(Example()), kExample);
  EXPECT_EQ(ParseManifest(kExample), Example());
}

TEST(Manifest, IsReadInEveryLayout) {
  for (const char* name : kLayoutNames) {
    Manifest manifest = {
        .tag = std::string(256, 't'), .layout = LayoutNamed(name), .volumes = {{}}};
    if (manifest.layout != kSingle) manifest.volumes.resize(999);
    EXPECT_EQ(ParseManifest(TextOf(manifest)), manifest);
  }
}

/// Returns the text of the example with the first `what` replaced.
std::string With(const std::string& what, const std::string& instead) {
  std::string text = kExample;
  const std::size_t at = text.find(what);
  if (at == std::string::npos) throw std::runtime_error("not in the example: " + what);
  return text.replace(at, what.size(), instead);
}

TEST(Manifest, IsRefusedWithALineNumberAndAReason) {
  const std::string digest = kOfAbc, example = kExample;
  const std::string unexpected = "unexpected line";
  const std::string figures = "not valid files, bytes and digest of a volume";
  const std::string order = "the path is repeated or out of order";
  const std::string path = "the path is not one inside the volume";
  const std::string escapes = "a backslash, tab or line break is not escaped correctly";
  const std::string target = "the link leads out of the volume";
  const std::string parent = "the directory of the path is not listed";
  const std::string first_line = "line 1: not \"kvl-media manifest 1\"";
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"", "line 1: the end is missing"},
      {"x", "line 1: the line feed at its end is missing"},
      {With("manifest 1", "manifest 2"), first_line},
      {With("manifest 1", "manifest 1\r"), first_line},
      {"\n" + example, first_line},
      {With("tag ", "Tag "), "line 2: not a valid tag"},
      {With("tag T 1\xFF\\", "tag "), "line 2: not a valid tag"},
      {With("T 1", std::string(255, 't')), "line 2: not a valid tag"},
      {With("T 1", "T\t1"), "line 2: not a valid tag"},
      {With("T 1", "T\x7F"), "line 2: not a valid tag"},
      {With("sibling", "siblin"), "line 3: not a valid layout"},
      {With("sibling", "sibling "), "line 3: not a valid layout"},
      {With("volumes 2", "volumes 02"), "line 4: not a valid number of volumes"},
      {With("volumes 2", "volumes 0"), "line 4: not a valid number of volumes"},
      {With("volumes 2", "volumes +2"), "line 4: not a valid number of volumes"},
      {With("volumes 2", "volumes 1000"), "line 4: not a valid number of volumes"},
      {With("volumes 2", "volumes"), "line 4: not a valid number of volumes"},
      {With("volumes 2", "volumes 1"), "line 4: the number of volumes does not fit the layout"},
      {With("sibling", "single"), "line 4: the number of volumes does not fit the layout"},
      {With("volumes 2", "volumes 3"), "line 16: " + unexpected},
      {With("volume 1", "volume 2"), "line 5: " + unexpected},
      {With("volume 1 3", "volume 1 03"), "line 5: " + figures},
      {With("volume 1 3", "volume 1 -3"), "line 5: " + figures},
      {With("volume 1 3", "volume 1"), "line 5: " + figures},
      {With("volume 1 3", "volume 1 "), "line 5: " + figures},
      {With("551615", "551616"), "line 5: " + figures},
      {With(digest, digest.substr(1)), "line 5: " + figures},
      {With(digest, digest + " "), "line 5: " + figures},
      {With(" " + digest, ""), "line 5: " + figures},
      {With("directory inst\n", "directory \n"), "line 6: " + path},
      {With("directory inst\n", "directory /inst\n"), "line 6: " + path},
      {With("directory inst\n", "directory inst/\n"), "line 6: " + path},
      {With("directory inst\n", "directory ./inst\n"), "line 6: " + path},
      {With("directory inst\n", "directory ../inst\n"), "line 6: " + path},
      {With("directory inst\n", "directory in\\st\n"), "line 6: " + escapes},
      {With("directory inst\n", "directory in\tst\n"), "line 6: " + escapes},
      {With("directory inst\n", "directory in\rst\n"), "line 6: " + escapes},
      {With("directory inst\n", "directory inst\ndirectory inst\n"), "line 7: " + order},
      {With("directory inst\n", "directory z\n"), "line 7: " + order},
      {With("directory inst\n", ""), "line 6: " + parent},
      {With("directory inst\n", "file inst\n"), "line 6: " + unexpected},
      {With("directory inst\n", "\n"), "line 6: " + unexpected},
      {With("program setup\n", "program a\n"), "line 12: " + order},
      {With("program setup\n", "program payload\n"), "line 12: " + order},
      {With("program setup\n", "program setup/x\n"), "line 12: " + parent},
      {With("program setup\n", "program inst/no/setup\n"), "line 12: " + parent},
      {With("program setup\n", "program setup\ndirectory x\n"), "line 13: " + unexpected},
      {With("link a\tpayload/x\n", "link a\n"), "line 13: the target of the link is missing"},
      {With("link a\tpayload/x\n", "link a\t\n"), "line 13: " + target},
      {With("link a\tpayload/x\n", "link a\t/x\n"), "line 13: " + target},
      {With("link a\tpayload/x\n", "link a\t../x\n"), "line 13: " + target},
      {With("\t../inst", "\t../../inst"), "line 14: " + target},
      {With("link a\tpayload/x\n", "link a\tx\ty\n"), "line 13: " + escapes},
      {With("link a\tpayload/x\n", "link \tx\n"), "line 13: " + path},
      {With("link a\t", "link setup\t"), "line 13: " + order},
      {With("link a\t", "link inst\t"), "line 13: " + order},
      {With("link a\t", "link payload/\\n\t"), "line 14: " + order},
      {With("link a\t", "link setup/x\t"), "line 13: " + parent},
      {With("link a\t", "link inst/a\tb\t"), "line 13: " + escapes},
      {With("end\n", ""), "line 16: the end is missing"},
      {With("end\n", "end"), "line 16: the line feed at its end is missing"},
      {With("end\n", "End\n"), "line 16: " + unexpected},
      {With("end\n", "tag T\nend\n"), "line 16: " + unexpected},
      {example + "\n", "line 17: there is text behind the end"},
      {example + "x", "line 17: there is text behind the end"},
      {example + example, "line 17: there is text behind the end"},
  };
  for (const auto& [text, message] : rows) {
    EXPECT_THAT([&text = text] { ParseManifest(text); }, ThrowsMessage<RefusedText>(message))
        << text;
  }
}

/// Returns whether the parser refuses the text. Otherwise expects that the manifest has this text
/// and differs from the example.
bool IsRefused(const std::string& text) {
  try {
    const Manifest read = ParseManifest(text);
    EXPECT_EQ(TextOf(read), text);
    EXPECT_NE(read, ParseManifest(kExample));
    return false;
  } catch (const RefusedText&) {
    return true;
  }
}

TEST(Manifest, IsReadFromItsOwnTextOnly) {
  const std::string example = kExample;
  int refused = 0, read = 0;
  const auto look_at = [&](const std::string& text) { ++(IsRefused(text) ? refused : read); };
  for (std::size_t at = 0; at < example.size(); ++at) {
    EXPECT_TRUE(IsRefused(example.substr(0, at)));
    look_at(std::string(example).erase(at, 1));
    for (int bit = 0; bit < 8; ++bit) {
      std::string changed = example;
      changed[at] = static_cast<char>(changed[at] ^ (1 << bit));
      look_at(changed);
    }
    for (const char more : {'\n', '\r', '\t', ' ', '/', '.', '\\', '0', '\0', 'a'}) {
      look_at(std::string(example).insert(at, 1, more));
    }
  }
  EXPECT_GT(refused, 1000);
  EXPECT_GT(read, 100);
}

}  // namespace
}  // namespace kvl::test
