#include "line_buffer.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace quillmere::host {
namespace {

template <class T>
void toFloats(const void* data, float* line, std::size_t count, float white) {
  const T* values = static_cast<const T*>(data);
  for (std::size_t i = 0; i < count; ++i) line[i] = static_cast<float>(values[i]) / white;
}

template <class T>
void fromFloats(const float* line, void* data, std::size_t count, float white) {
  T* values = static_cast<T*>(data);
  for (std::size_t i = 0; i < count; ++i) {
    const float value = line[i] > 0.0F ? std::min(line[i], 1.0F) : 0.0F;  // not-a-number is black
    values[i] = static_cast<T>(value * white + 0.5F);
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
    : picture_(width, height, components, image::Sample::Float),
      present_(static_cast<std::size_t>(height), false),
      drawing_(std::move(drawing)) {}

bool LineBuffer::write(int x, int y, int count, const void* data, Depth depth) {
  if (data == nullptr || !covers(x, y, count)) return false;
  if (count < width() && !ensure(y)) return false;
  present_[static_cast<std::size_t>(y)] = true;
  float* line = picture_.row<float>(y) + static_cast<std::ptrdiff_t>(x) * components();
  const std::size_t values = static_cast<std::size_t>(count) * static_cast<std::size_t>(components());
  switch (depth) {
    case Depth::Byte:
      toFloats<std::uint8_t>(data, line, values, 255.0F);
      break;
    case Depth::Word:
      toFloats<std::uint16_t>(data, line, values, 65535.0F);
      break;
    case Depth::Float:
      std::memcpy(line, data, values * sizeof(float));
      break;
  }
  return true;
}

bool LineBuffer::read(int x, int y, int count, void* data, Depth depth) {
  if (data == nullptr || !covers(x, y, count) || !ensure(y)) return false;
  const float* line = picture_.row<float>(y) + static_cast<std::ptrdiff_t>(x) * components();
  const std::size_t values = static_cast<std::size_t>(count) * static_cast<std::size_t>(components());
  switch (depth) {
    case Depth::Byte:
      fromFloats<std::uint8_t>(line, data, values, 255.0F);
      break;
    case Depth::Word:
      fromFloats<std::uint16_t>(line, data, values, 65535.0F);
      break;
    case Depth::Float:
      std::memcpy(data, line, values * sizeof(float));
      break;
  }
  return true;
}

bool LineBuffer::complete() {
  const auto missing = std::ranges::find(present_, false);
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
  if (drawn_ != Drawn::NotYet) return false;
  const image::Image drawn = drawing_();
  drawn_ = drawn.width() == width() && drawn.height() == height() ? Drawn::Done : Drawn::Failed;
  if (drawn_ == Drawn::Failed) return false;
  for (int line = 0; line < height(); ++line) {
    if (present_[static_cast<std::size_t>(line)]) continue;
    copyLine(drawn.row<float>(line), drawn.channels(), picture_.row<float>(line), components(), width());
    present_[static_cast<std::size_t>(line)] = true;
  }
  return true;
}

}  // namespace quillmere::host
