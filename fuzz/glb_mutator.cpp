// Changes binary glTF files: their bytes as libFuzzer does, their document by its values and their data by its numbers,
// with lengths that hold in the end.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <limits>
#include <nlohmann/json.hpp>
#include <random>
#include <span>
#include <string>
#include <vector>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

namespace quillmere::fuzz {
namespace {

using Json = nlohmann::json;
using Random = std::minstd_rand;

// A file taken apart; what its lengths don't reach is left out.
struct Glb {
  std::string json;
  std::string data;
};

constexpr std::size_t kHeader = 12;
constexpr std::size_t kChunkHeader = 8;

std::string littleEndian(std::size_t number) {
  std::string bytes;
  for (unsigned i = 0; i < 4; ++i) bytes += static_cast<char>((number >> (8 * i)) & 0xFFU);
  return bytes;
}

std::string padded(std::string bytes, char with) {
  bytes.resize((bytes.size() + 3) / 4 * 4, with);
  return bytes;
}

// The chunk at the front of `rest`, which is shortened to what follows it.
std::string takeChunk(std::span<const std::uint8_t>& rest) {
  if (rest.size() < kChunkHeader) return {};
  std::uint32_t length = 0;
  std::memcpy(&length, rest.data(), sizeof length);
  rest = rest.subspan(kChunkHeader);
  const auto chunk = rest.first(std::min<std::size_t>(length, rest.size()));
  rest = rest.subspan(chunk.size());
  return {chunk.begin(), chunk.end()};
}

std::size_t below(std::size_t count, Random& random) {
  return count == 0 ? 0 : random() % count;
}

// Every value of the document that isn't the whole of it, with what holds it.
struct Place {
  Json* holder;
  Json* value;
};

void collect(Json& from, std::vector<Place>& places) {
  if (!from.is_structured()) return;
  for (Json& value : from) {
    places.push_back({&from, &value});
    collect(value, places);
  }
}

Json tellingNumber(Random& random) {
  static const std::array<Json, 22> kNumbers{0,      1,    2,     3,    4,          -1,          5120,
                                             5121,   5123, 5125,  5126, 1e-9,       -1e-9,       1e30,
                                             -1e30,  1e38, 1e300, 0.5,  2147483647, 4294967295U, 9223372036854775807LL,
                                             1000000};
  return kNumbers[below(kNumbers.size(), random)];
}

Glb takenApart(std::span<const std::uint8_t> file) {
  auto rest = file.subspan(std::min(kHeader, file.size()));
  Glb glb;
  glb.json = takeChunk(rest);
  glb.data = takeChunk(rest);
  return glb;
}

std::string putTogether(const Glb& glb) {
  const std::string text = padded(glb.json, ' '), data = padded(glb.data, '\0');
  std::string chunks = littleEndian(text.size()) + "JSON" + text;
  if (!data.empty()) chunks += littleEndian(data.size()) + std::string("BIN\0", 4) + data;
  return "glTF" + littleEndian(2) + littleEndian(kHeader + chunks.size()) + chunks;
}

// Changes one value of the document: to a telling number, to another of its values, to nothing; or a list's length by
// one. Text that is no JSON stays as it is.
void changeDocument(std::string& json, Random& random) {
  Json document = Json::parse(json, nullptr, false);
  std::vector<Place> places;
  if (!document.is_discarded()) collect(document, places);
  if (places.empty()) return;
  const Place place = places[below(places.size(), random)];
  const Json other = *places[below(places.size(), random)].value;
  switch (below(6, random)) {
    case 0:
      *place.value = other;
      break;
    case 1:
      if (place.holder->is_array()) place.holder->push_back(Json(*place.value));
      break;
    case 2:
      *place.value = nullptr;
      break;
    case 3:
      if (place.holder->is_array()) place.holder->erase(place.holder->size() - 1);
      break;
    default:
      if (place.value->is_number()) *place.value = tellingNumber(random);
      break;
  }
  json = document.dump(-1, ' ', false, Json::error_handler_t::replace);
}

void changeData(std::string& data, Random& random) {
  using Limits = std::numeric_limits<float>;
  static constexpr std::array kNumbers{
      0.0F, 1.0F,  -1.0F, Limits::quiet_NaN(), Limits::infinity(),  Limits::max(), 1e9F,
      1e5F, 1e-5F, 1e-9F, Limits::min(),       Limits::denorm_min()};
  if (data.size() < sizeof(float)) return;
  const float number = kNumbers[below(kNumbers.size(), random)];
  std::memcpy(data.data() + below(data.size() / sizeof number, random) * sizeof number, &number, sizeof number);
}

void changeBytes(std::string& bytes, std::size_t more) {
  const std::size_t size = bytes.size();
  bytes.resize(size + more);
  bytes.resize(LLVMFuzzerMutate(reinterpret_cast<std::uint8_t*>(bytes.data()), size, bytes.size()));
}

void change(Glb& glb, Random& random) {
  switch (below(7, random)) {
    case 0:
      return changeBytes(glb.json, 64);
    case 1:
      return changeBytes(glb.data, 0);
    case 2:
    case 3:
      return changeData(glb.data, random);
    default:
      return changeDocument(glb.json, random);
  }
}

}  // namespace
}  // namespace quillmere::fuzz

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                               unsigned seed) {
  quillmere::fuzz::Random random(seed);
  quillmere::fuzz::Glb glb = quillmere::fuzz::takenApart({data, size});
  quillmere::fuzz::change(glb, random);
  const std::string changed = quillmere::fuzz::putTogether(glb);
  if (random() % 8 == 0 || changed.size() > maxSize) return LLVMFuzzerMutate(data, size, maxSize);
  std::memcpy(data, changed.data(), changed.size());
  return changed.size();
}
