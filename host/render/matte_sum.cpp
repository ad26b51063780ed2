#include "matte_sum.h"

#include <algorithm>
#include <bit>
#include <tuple>

namespace quillmere::render {

void MatteSum::add(std::uint32_t id, float weight) {
  for (int i = 0; i < count_; ++i) {
    Share& share = shares_[static_cast<std::size_t>(i)];
    if (share.id != id) continue;
    share.weight += weight;
    return;
  }
  const auto room = static_cast<std::size_t>(count_);
  if (room < shares_.size()) {
    shares_[room] = {id, weight};
    ++count_;
    return;
  }
  const auto least = std::ranges::min_element(shares_, {}, &Share::weight);
  if (least->weight < weight) *least = {id, weight};
}

MatteSum::Ranked MatteSum::ranked() const {
  Ranked ranks{};
  std::partial_sort_copy(
      shares_.begin(), shares_.begin() + count_, ranks.begin(), ranks.end(),
      [](const Share& a, const Share& b) { return std::make_tuple(b.weight, a.id) < std::make_tuple(a.weight, b.id); });
  return ranks;
}

void MatteSum::store(const std::vector<Plane>& layers, float whole, std::ptrdiff_t pixel) const {
  if (count_ == 1) {  // as in most pixels
    const Share& only = shares_.front();
    for (const Plane& layer : layers) layer.put(pixel, glm::vec3(0.0F), 0.0F);
    float* const ranks = layers.front().at(pixel);
    ranks[0] = std::bit_cast<float>(only.id);
    ranks[1] = std::min(1.0F, only.weight / whole);
    return;
  }
  const auto shares = ranked();
  auto next = shares.begin();
  for (const Plane& layer : layers) {
    float* ranks = layer.at(pixel);
    for (const int rank : {0, 2}) {
      ranks[rank] = std::bit_cast<float>(next->id);
      ranks[rank + 1] = std::min(1.0F, next++->weight / whole);
    }
  }
}

TwoObjects MatteSum::firstTwo(float whole) const {
  if (count_ == 1) return {{shares_.front().id, 0}, {std::min(1.0F, shares_.front().weight / whole), 0.0F}};
  const auto shares = ranked();
  return {{shares[0].id, shares[1].id},
          {std::min(1.0F, shares[0].weight / whole), std::min(1.0F, shares[1].weight / whole)}};
}

}  // namespace quillmere::render
