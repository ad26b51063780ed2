#pragma once

#include <OpenEXR/ImfIO.h>

#include <algorithm>
#include <stdexcept>

#include "decoding.h"

namespace quillmere::image {

// A file in memory, which outlives this.
class ExrStream : public Imf::IStream {
 public:
  explicit ExrStream(Bytes file) : IStream("picture"), file_(file) {}

  bool read(char to[], int count) override {
    const auto wanted = static_cast<std::size_t>(std::max(count, 0));
    if (count < 0 || position_ > file_.size() || wanted > file_.size() - position_) {
      throw std::runtime_error("it ends too early");
    }
    std::copy_n(file_.data() + position_, wanted, reinterpret_cast<std::uint8_t*>(to));
    position_ += wanted;
    return position_ < file_.size();
  }
  std::uint64_t tellg() override { return position_; }
  void seekg(std::uint64_t position) override { position_ = position; }

 private:
  Bytes file_;
  std::uint64_t position_ = 0;
};

}  // namespace quillmere::image
