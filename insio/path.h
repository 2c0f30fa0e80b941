// InsPath: a normalised path as a value. Nothing here asks the file system, and nothing here fails
// but for lack of memory.
//
// Always true: no backslash, no "//", no "/" at the end unless the whole text is "/". Examples
// stand as "given  =>  result". A path that has been moved from can only be assigned to or destroyed.
#pragma once

#include <compare>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace KVLInsIO {

class InsPath {
 public:
  /// The empty path, which is relative.
  InsPath() = default;

  /// Takes a path as a user may have typed it, and normalises it (see NormalizeString).
  explicit InsPath(std::string text);

  InsPath(const InsPath&) = default;
  InsPath& operator=(const InsPath&) = default;
  InsPath(InsPath&& other) noexcept;
  InsPath& operator=(InsPath&& other) noexcept;
  ~InsPath() = default;

  /// Makes it the empty path.
  void Clear();
  [[nodiscard]] bool IsEmpty() const { return text_.empty(); }
  /// True when the text begins with "/".
  [[nodiscard]] bool IsAbsolute() const { return root_ >= 0; }
  [[nodiscard]] const std::string& Str() const { return text_; }

  /// "/" when the path is absolute, otherwise the empty text.
  ///   /usr/lib  =>  /     /  =>  /     a/b  =>  (empty)     (empty)  =>  (empty)
  [[nodiscard]] std::string Root() const;

  /// What follows the root; of a relative path, all of it.
  ///   a/b  =>  a/b    /usr/lib  =>  sr/lib    /m/x  =>  /x    /a  =>  (empty)    /  =>  (empty)
  /// On purpose two characters are skipped, not one, so the first name of an absolute path loses
  /// its first character.
  [[nodiscard]] std::string RelativePart() const;

  /// The part of RelativePart() behind its last "/".
  ///   a/b  =>  b     a  =>  a     /usr/lib  =>  lib     /abc  =>  bc     /a  =>  (empty)
  /// Used only to recognise ".", where the missing character makes no difference.
  [[nodiscard]] std::string FileName() const;

  /// The path without its last component.
  ///   a/b/x  =>  a/b     /a  =>  /     /  =>  (empty)     a  =>  (empty)     (empty)  =>  (empty)
  [[nodiscard]] InsPath Parent() const;

  /// Appends "/" and `text`, and normalises the whole again.
  ///   a /= b  =>  a/b     (empty) /= b  =>  /b     /m /= /x  =>  /m/x
  InsPath& operator/=(std::string_view text);
  InsPath& operator/=(const InsPath& path) { return *this /= path.text_; }

  /// The same as "/=": on purpose it changes and returns the left operand. Join changes nothing.
  InsPath& operator/(std::string_view text) { return *this /= text; }
  InsPath& operator/(const InsPath& path) { return *this /= path; }

  /// Compares the texts, byte by byte: the paths made from "a/" and "a" are equal.
  friend bool operator==(const InsPath& left, const InsPath& right) {
    return left.text_ == right.text_;
  }

  /// Orders the texts, byte by byte: "a-b" comes before "a/b".
  friend std::strong_ordering operator<=>(const InsPath& left, const InsPath& right) {
    return left.text_ <=> right.text_;
  }

 private:
  static constexpr std::int64_t kNoRoot = -1;
  static constexpr std::int64_t kMovedFrom = -2;

  std::string text_;
  std::int64_t root_ = kNoRoot;  // index of the root separator, or one of the two values above
};

/// InsPath(a + "/" + b).
///   a/, /b  =>  a/b     /m, (empty)  =>  /m     (empty), x  =>  /x     (empty), (empty)  =>  /
[[nodiscard]] InsPath Join(std::string_view a, std::string_view b);
[[nodiscard]] inline InsPath Join(const InsPath& a, std::string_view b) {
  return Join(a.Str(), b);
}
[[nodiscard]] inline InsPath Join(const InsPath& a, const InsPath& b) {
  return Join(a.Str(), b.Str());
}

/// `path` as seen from `base`.
///   /base, /abs  =>  /abs     /base, rel  =>  /base/rel     /base, (empty)  =>  /base
[[nodiscard]] InsPath Combine(const InsPath& base, const InsPath& path);

/// The path that leads from the directory `from` to `to`. Empty when `to` is empty, when only one
/// of the two is absolute, and when both are the same absolute path or differ only in what is left
/// out of the comparison (/, /m and /m, /n).
///
/// Absolute paths are compared component by component, the first one without its first character,
/// as in RelativePart(), so the first names of /usr and /asr count as equal:
///   /usr/lib, /usr/share/x  =>  ../share/x     /usr/lib/x, /usr  =>  ../..
///   /usr, /usr/lib          =>  lib            /usr/lib, /opt/x  =>  ../../pt/x
///   /, /usr/lib             =>  sr/lib         /usr, /asr/lib    =>  lib
/// A first name of one letter counts as a component with nothing left in it, so one ".." leads out
/// of it, and the result does not begin with "/":
///   /m, /m/1/x  =>  1/x     /m/1, /m/2  =>  ../2
/// The result is normalised as a whole, so a rest in quotes loses them, and may be absolute then:
///   /am/1, /am/1/'x'        =>  x              /am/1, /am/2/'x'  =>  ../2/'x'
///   /a/b, /a/b/"/c"         =>  /c
///
/// Relative paths are not searched for a common beginning, on purpose: one ".." for `from` and one
/// for each "/" in it.
///   a/b, x/y  =>  ../../x/y     a, x  =>  ../x     (empty), x  =>  ../x
[[nodiscard]] InsPath MakeRelative(const InsPath& from, const InsPath& to);

}  // namespace KVLInsIO

/// Equal paths have equal hashes.
template <>
struct std::hash<KVLInsIO::InsPath> {
  std::size_t operator()(const KVLInsIO::InsPath& path) const noexcept {
    return std::hash<std::string>()(path.Str());
  }
};
