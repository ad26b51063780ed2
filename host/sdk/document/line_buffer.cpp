#include "document/line_buffer.h"

#include <algorithm>
#include <type_traits>
#include <utility>

#include "image/conversion.h"

namespace quillmere::host {
namespace {

// Calls `work` with a value of the type that a caller's components have.
template <class Work>
void withType(LineBuffer::Depth depth, Work&& work) {
  if (depth == LineBuffer::Depth::Byte) return work(std::uint8_t{});
  if (depth == LineBuffer::Depth::Word) return work(std::uint16_t{});
  work(float{});
}

template <class To, class From>
void convert(const From* from, To* to, std::size_t count) {
  if constexpr (std::is_same_v<To, From>) {
    std::copy_n(from, count, to);  // floats keep what lies beyond black and white
  } else {
    std::transform(from, from + count, to, [](From value) { return image::sampleAs<To>(value); });
  }
}

void copyLine(const float* from, int fromComponents, float* to, int toComponents, int width) {
  for (int x = 0; x < width; ++x, from += fromComponents, to += toComponents) {
    std::copy_n(from, 3, to);
    if (toComponents > 3) to[3] = 1.0F;
  }
}

}  // namespace

LineBuffer::LineBuffer(int width, int height, int components, Drawing drawing)
    : picture_(width, height, components, image::Sample::Float, image::Filling::None),
      present_(static_cast<std::size_t>(height), false),
      drawing_(std::move(drawing)) {}

bool LineBuffer::write(int x, int y, int count, const void* data, Depth depth) {
  if (data == nullptr || !covers(x, y, count)) return false;
  if (count < width() && !ensure(y)) return false;
  present_[static_cast<std::size_t>(y)] = true;
  float* line = picture_.row<float>(y) + static_cast<std::ptrdiff_t>(x) * components();
  const std::size_t values = static_cast<std::size_t>(count) * static_cast<std::size_t>(components());
  withType(depth, [&]<class T>(T) { convert(static_cast<const T*>(data), line, values); });
  return true;
}

bool LineBuffer::read(int x, int y, int count, void* data, Depth depth) {
  if (data == nullptr || !covers(x, y, count) || !ensure(y)) return false;
  const float* line = picture_.row<float>(y) + static_cast<std::ptrdiff_t>(x) * components();
  const std::size_t values = static_cast<std::size_t>(count) * static_cast<std::size_t>(components());
  withType(depth, [&]<class T>(T) { convert(line, static_cast<T*>(data), values); });
  return true;
}

bool LineBuffer::complete() {
  const auto missing = std::find(present_.begin(), present_.end(), false);
  return missing == present_.end() || ensure(static_cast<int>(missing - present_.begin()));
}

image::Image LineBuffer::take() {
  present_.clear();
  return std::exchange(picture_, {});
}

bool LineBuffer::covers(int x, int y, int count) const {
  return x >= 0 && y >= 0 && count >= 1 && y < height() && x < width() && count <= width() - x;
}

bool LineBuffer::ensure(int y) {
  if (present_[static_cast<std::size_t>(y)]) return true;
  if (state_ != State::Pending) return false;
  const image::Image drawn = drawing_();
  state_ = drawn.width() == width() && drawn.height() == height() ? State::Done : State::Failed;
  if (state_ == State::Failed) return false;
  for (int line = 0; line < height(); ++line) {
    if (present_[static_cast<std::size_t>(line)]) continue;
    copyLine(drawn.row<float>(line), drawn.channels(), picture_.row<float>(line), components(), width());
    present_[static_cast<std::size_t>(line)] = true;
  }
  return true;
}

}  // namespace quillmere::host
