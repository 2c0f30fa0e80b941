#include "companion/make/summed_file.h"

namespace kvl {

void SummedFile::Add(std::string_view text) {
  constexpr std::size_t kPiece = 65536;
  text_ += text;
  if (text_.size() >= kPiece) Write();
}

void SummedFile::Finish(std::int64_t time) {
  Write();
  file_.Finish(KVLInsIO::FileKind::kPlain, time);
  size_ = hasher_.Size();
  sum_ = hasher_.Finish();
}

void SummedFile::Write() {
  hasher_.Add(text_);
  file_.Write(text_);
  text_.clear();
}

}  // namespace kvl
