// The findings of a check: what is wrong with a media now, or will be later.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "companion/check/finding_catalogue.h"

namespace kvl {

struct Finding {
  FindingKind kind;
  Severity severity;
  std::string path;  ///< where; may be empty
  std::string text;  ///< of the catalogue, with the arguments filled in

  std::string_view Code() const { return RowOf(kind).code; }
  std::string_view Remedy() const { return RowOf(kind).remedy; }
};

class Findings {
 public:
  /// How many findings of one code are kept. Further ones are only counted, because a tree may hold
  /// millions of bad files.
  static constexpr std::size_t kMostOfOneCode = 100;

  /// Replace the words in angle brackets of a text, in their order.
  using Arguments = std::initializer_list<std::string_view>;

  /// Adds a finding. If the path already has one with this code, only raises its severity.
  void Add(FindingKind kind, Severity severity, const std::string& path, Arguments arguments = {});
  /// Adds a finding with the severity of the catalogue. Throws std::bad_optional_access if the
  /// catalogue has no severity for this kind.
  void Add(FindingKind kind, const std::string& path, Arguments arguments = {});

  const std::vector<Finding>& All() const { return all_; }
  /// Returns true if a finding with this path and the code of this kind is kept.
  bool Has(FindingKind kind, const std::string& path) const {
    return index_.contains({RowOf(kind).code, path});
  }
  /// Returns how often an error was added, also one that was known already or was not kept.
  std::size_t ErrorsAdded() const { return errors_added_; }
  /// Returns how many findings were not kept, for each code that has such findings.
  const std::map<std::string_view, std::size_t>& NotKept() const { return not_kept_; }
  /// Returns the number of all findings, also of those that were not kept.
  std::size_t Count() const;

 private:
  std::size_t errors_added_ = 0;
  std::vector<Finding> all_;
  std::map<std::pair<std::string_view, std::string>, std::size_t> index_;  // by code and path
  std::map<std::string_view, std::size_t> kept_;
  std::map<std::string_view, std::size_t> not_kept_;
};

}  // namespace kvl
