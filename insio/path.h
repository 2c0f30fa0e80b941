// InsPath: a normalised path as a value. Nothing here asks the file system, and only a lack of
// memory can cause a failure.
//
// An InsPath never contains a backslash or "//", and ends in "/" only if that is the whole text.
// The comments show examples as "given  =>  result". A path that has been moved from can only be
// assigned to or destroyed.
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

  /// Empties the path.
  void Clear();
  [[nodiscard]] bool IsEmpty() const { return text_.empty(); }
  /// Returns true if the text begins with "/".
  [[nodiscard]] bool IsAbsolute() const { return root_ >= 0; }
  [[nodiscard]] const std::string& Str() const { return text_; }

  /// Returns "/" if the path is absolute, otherwise the empty text.
  ///   /usr/lib  =>  /     /  =>  /     a/b  =>  (empty)     (empty)  =>  (empty)
  [[nodiscard]] std::string Root() const;

  /// Returns what follows the root; the whole text of a relative path.
  ///   a/b  =>  a/b    /usr/lib  =>  sr/lib    /m/x  =>  /x    /a  =>  (empty)    /  =>  (empty)
  /// On purpose it skips two characters, not one, so the first name of an absolute path loses its
  /// first character.
  [[nodiscard]] std::string RelativePart() const;

  /// Returns the part of RelativePart() behind its last "/".
  ///   a/b  =>  b     a  =>  a     /usr/lib  =>  lib     /abc  =>  bc     /a  =>  (empty)
  /// The library uses it only to recognise ".", where the missing character makes no difference.
  [[nodiscard]] std::string FileName() const;

  /// Returns the path without its last component.
  ///   a/b/x  =>  a/b     /a  =>  /     /  =>  (empty)     a  =>  (empty)     (empty)  =>  (empty)
  [[nodiscard]] InsPath Parent() const;

  /// Appends "/" and `text`, and normalises the whole again.
  ///   a /= b  =>  a/b     (empty) /= b  =>  /b     /m /= /x  =>  /m/x
  InsPath& operator/=(std::string_view text);
  InsPath& operator/=(const InsPath& path) { return *this /= path.text_; }

  /// Does the same as "/=": on purpose it changes and returns the left operand. Join changes
  /// nothing.
  InsPath& operator/(std::string_view text) { return *this /= text; }
  InsPath& operator/(const InsPath& path) { return *this /= path; }

  /// Compares the texts byte by byte: the paths made from "a/" and "a" are equal.
  friend bool operator==(const InsPath& left, const InsPath& right) {
    return left.text_ == right.text_;
  }

  /// Orders the texts byte by byte: "a-b" comes before "a/b".
  friend std::strong_ordering operator<=>(const InsPath& left, const InsPath& right) {
    return left.text_ <=> right.text_;
  }

 private:
  static constexpr std::int64_t kNoRoot = -1;
  static constexpr std::int64_t kMovedFrom = -2;

  std::string text_;
  std::int64_t root_ = kNoRoot;  // index of the root separator, or a constant above
};

/// Returns InsPath(a + "/" + b).
///   a/, /b  =>  a/b     /m, (empty)  =>  /m     (empty), x  =>  /x     (empty), (empty)  =>  /
[[nodiscard]] InsPath Join(std::string_view a, std::string_view b);
[[nodiscard]] inline InsPath Join(const InsPath& a, std::string_view b) {
  return Join(a.Str(), b);
}
[[nodiscard]] inline InsPath Join(const InsPath& a, const InsPath& b) {
  return Join(a.Str(), b.Str());
}

/// Returns `path` as seen from `base`.
///   /base, /abs  =>  /abs     /base, rel  =>  /base/rel     /base, (empty)  =>  /base
[[nodiscard]] InsPath Combine(const InsPath& base, const InsPath& path);

/// Returns the path that leads from the directory `from` to `to`. The result is empty if `to` is
/// empty, if only one of the two is absolute, and if both are the same absolute path or differ only
/// in what the comparison leaves out (/, /m and /m, /n).
///
/// Absolute paths are compared component by component. As in RelativePart(), the first component
/// loses its first character, so the first names of /usr and /asr count as equal:
///   /usr/lib, /usr/share/x  =>  ../share/x     /usr/lib/x, /usr  =>  ../..
///   /usr, /usr/lib          =>  lib            /usr/lib, /opt/x  =>  ../../pt/x
///   /, /usr/lib             =>  sr/lib         /usr, /asr/lib    =>  lib
/// A first name of one letter thus becomes an empty component. One ".." leads out of it, and the
/// result does not begin with "/":
///   /m, /m/1/x  =>  1/x     /m/1, /m/2  =>  ../2
/// The result is normalised as a whole, so a rest in quotes loses them, and can then be absolute:
///   /am/1, /am/1/'x'        =>  x              /am/1, /am/2/'x'  =>  ../2/'x'
///   /a/b, /a/b/"/c"         =>  /c
///
/// On purpose, relative paths are not searched for a common beginning. The result has one ".." for
/// `from` and one for each "/" in it:
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
