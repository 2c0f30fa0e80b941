// The entries of a payload, packed into few bytes each: there may be millions.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>

#include "insio/open_directory.h"

namespace kvl {

/// Thrown for a call of make that is not valid, and for a payload that cannot go onto a media.
class CannotMake : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

enum class EntryType : unsigned char { kFile, kDirectory, kLink };

/// Returns a hash of the state, to find out later whether the entry has changed.
std::uint64_t MarkOf(const KVLInsIO::EntryState& state);

struct PayloadEntry {
  std::string name;  ///< path in the payload, without a leading "/"
  EntryType type = EntryType::kFile;
  bool is_program = false;    ///< a file that becomes executable on the media
  std::uint64_t size = 0;     ///< of a file
  std::int64_t modified = 0;  ///< of a file or a link, in seconds
  std::uint64_t mark = 0;     ///< of a file or a link: MarkOf its state when it was listed
  std::string target = {};    ///< of a link

  bool IsFile() const { return type == EntryType::kFile; }
  bool IsDirectory() const { return type == EntryType::kDirectory; }
  bool IsLink() const { return type == EntryType::kLink; }
};

class PayloadList {
 public:
  /// Unpacks one entry after the other. The list must outlive the iterator, and must not change or
  /// move.
  class Iterator {
   public:
    using iterator_category = std::input_iterator_tag;
    using value_type = PayloadEntry;
    using difference_type = std::ptrdiff_t;
    using pointer = const PayloadEntry*;
    using reference = const PayloadEntry&;

    const PayloadEntry& operator*() const { return entry_; }
    const PayloadEntry* operator->() const { return &entry_; }
    Iterator& operator++();
    bool operator==(const Iterator& other) const { return place_ == other.place_; }

   private:
    friend class PayloadList;
    Iterator(const PayloadList& list, std::size_t place);

    void Unpack();
    std::uint64_t Number();
    std::string_view Text();

    const PayloadList* list_;
    std::size_t place_;                 // number of the entry in the list
    std::size_t block_ = 0, next_ = 0;  // where the next entry begins
    PayloadEntry entry_;
  };

  /// Adds an entry behind the others. Entries must come in PathOrder.
  void Add(const PayloadEntry& entry);

  std::size_t Size() const { return size_; }
  Iterator begin() const { return {*this, 0}; }
  Iterator end() const { return {*this, size_}; }

 private:
  std::deque<std::string> blocks_;  // a deque does not move blocks when it grows
  std::size_t size_ = 0;
  std::string last_name_;
};

}  // namespace kvl
