#pragma once

#include <concepts>
#include <cstdint>
#include <functional>
#include <glm/glm.hpp>

#include "base/parallel.h"
#include "camera_rays.h"
#include "ray_packet.h"
#include "ray_scene.h"
#include "scene/scene.h"

// The one loop that traces pictures: rays through the pixels, on through the layers of surfaces that blend, and what
// they bring summed for each pixel. What a surface brings is the shader's to say.
namespace quillmere::render {

struct PictureRequest {
  const RayScene& scene;
  const scene::Camera& camera;
  int width, height;           // pixels
  std::function<bool()> stop;  // asked between tiles, from any thread; true stops the drawing; may be empty
  int threads;
};

// A square of pixels that the sixteen rays of a packet are dealt out to in equal shares, row by row.
struct PixelBlock {
  enum class Side { One = 0, Two = 1, Four = 2 };  // binary logarithm of the pixels each way

  Side side;
  int left, top;

  int pixels() const { return 1 << static_cast<int>(side); }  // each way
  int raysPerPixel() const { return kRays >> (2 * static_cast<int>(side)); }
  glm::ivec2 pixelOf(int ray) const {
    const int bits = static_cast<int>(side), pixel = ray >> (4 - 2 * bits);
    return {left + (pixel & (pixels() - 1)), top + (pixel >> bits)};
  }
  RaySet raysBeside(int ray) const;  // those of the same pixel
  // Which sum is that of all samples of a ray's pixel.
  int summedAt(int ray) const { return ray >> (4 - 2 * static_cast<int>(side)); }
};

// Where the samples of a picture lie in its pixels.
struct PixelSampling {
  // Four samples of each pixel on a rotated grid, in one pass over blocks of two by two. Samples of a pixel that meet
  // the same triangle share one surface point in their middle.
  static PixelSampling grid() { return {PixelBlock::Side::Two, 1, 1.0F, 0}; }
  // At least one sample of each pixel, one in a pass over blocks of four by four. Their places look random, but
  // depend on the seed, the pixel and the number of the pass only. All samples of a picture are one sequence that is
  // stratified in each of its parts, dealt out along a curve that keeps neighbours together: so what is wrong with a
  // pixel is made up for by those beside it (A. Ahmed, P. Wonka, Screen-Space Blue-Noise Diffusion of Monte Carlo
  // Sampling Error via Hierarchical Ordering of Pixels, 2020).
  static PixelSampling scattered(int samples, std::uint32_t seed);

  // As many samples more of single pixels that have had `earlier` of those above, sixteen in a pass. Their places go on
  // where those stopped; for all else they are another sequence than that of the same seed above.
  static PixelSampling further(int samples, int earlier, std::uint32_t seed);
  static constexpr int kMostTimes = 16;  // as many samples as earlier ones may be in a pixel in all

  PixelBlock::Side block;
  int passes;
  float footprint;  // side of the square that textures are averaged over for a surface point, in pixels
  std::uint32_t seed;
  int earlier = 0;                 // samples that the pixels have had
  std::uint32_t placeSeed = seed;  // of where in the pixels samples are
  bool shared = false;             // whether samples of a single pixel share points on a triangle without pictures

  bool isGrid() const { return block == PixelBlock::Side::Two; }
  int tileSide() const { return isGrid() ? 32 : 16; }  // pixels; whoever stops the drawing waits for one tile
  // For each ray the place of its pixel's first sample in the sequence; on a grid, where nothing is random, 0.
  PerRay<std::uint32_t> firstSamples(const PixelBlock& pixels) const;
  // Where in the picture the samples of these numbers of the sequence lie, in pixels.
  void place(const PixelBlock& pixels, const PerRay<std::uint32_t>& numbers, PerRay<float>& x, PerRay<float>& y) const;
  // The rays of a pass whose samples are of the second half of their pixel's.
  RaySet laterRays(int pass) const;
  // That of a sample's place, which leaves room for further samples of its pixel.
  std::uint32_t placeNumber(std::uint32_t number) const;
};

// What the rays of a packet meet next on their way from the camera. Only the entries of rays and points that are in
// one of the sets hold anything.
struct Layer {
  // Filling what no set names would cost every packet.
  // cppcheck-suppress uninitMemberVar
  Layer(const CameraRays& seenThrough, const RayPacket& traced, const PixelBlock& pixels,
        const PerRay<std::uint32_t>& samples, std::uint32_t sequenceSeed)
      : camera(seenThrough), rays(traced), block(pixels), numbers(samples), seed(sequenceSeed) {}

  const CameraRays& camera;  // which the rays are of
  const RayPacket& rays;     // directions, as long as one metre of depth; distances, so metres along the view axis
  const PixelBlock& block;
  PerRay<std::uint32_t> numbers;  // of the samples in the sequence of the picture
  std::uint32_t seed;             // of that sequence
  RaySet later = 0;               // rays whose samples are of the second half of their pixel's

  RaySet missed = 0;       // rays that meet nothing any more
  RaySet met = 0;          // rays that meet a surface
  PerRay<float> reaching;  // share of the sample that the layers in front let through: 1 to 0, 1 in the first layer
  PerRay<float> weight;    // share that ends here: for a surface `reaching` times its alpha, else all that is reaching
  PerRay<int> pointOf;     // of the rays that met a surface: its entry in `surface`
  RaySet points = 0;       // the entries of `surface` that were resolved: each is shared by rays of one pixel
  PerRay<float> weightAt;  // of those entries: the weights of the rays that share it
  SurfacePoints surface;   // in the last layer that is looked at, everything is opaque
};

// What a grid's four pixels show where all their samples met one plain triangle.
struct FourPixels {
  const PixelBlock& block;
  const RayPacket& rays;
  const MetTriangle& triangle;
  FourPoints points;  // in the middle of each pixel's samples
};

// Follows the rays of one packet from layer to layer. The arguments must outlive it.
class LayerTrace {
 public:
  // `triangle` is kept from packet to packet: neighbours mostly meet the same one.
  LayerTrace(const PictureRequest& request, const CameraRays& camera, const PixelSampling& sampling,
             const PixelBlock& block, const PerRay<std::uint32_t>& firsts, int pass, MetTriangle& triangle);
  LayerTrace(const LayerTrace&) = delete;
  LayerTrace& operator=(const LayerTrace&) = delete;

  // Looks ahead at the first layer, before findNext: the triangle that all sixteen rays met where that is so and it is
  // plain, else null. Then `pixels` shows a grid's four.
  const MetTriangle* findOne();
  FourPixels pixels() const { return {layer_.block, rays_, triangle_, {triangle_, middles()}}; }

  // False when no ray goes on.
  bool findNext();
  const Layer& layer() const { return layer_; }
  // Sends the rays on behind the layer where it lets light through, but for those that are done.
  void goOn(RaySet done);

 private:
  static RaySet insideOf(const PictureRequest& request, const PixelBlock& block);
  RayPacket packetOf(RaySet active, const PixelSampling& sampling) const;
  void trace();
  FourHits middles() const;
  bool sharesPoint(const Hit& hit) const;
  void addPoint(RaySet sharing);
  bool addFour();
  void meet(const Hit& hit);

  const PictureRequest& request_;
  const CameraRays& camera_;
  Layer layer_;
  RayPacket rays_;
  MetTriangle& triangle_;  // the last one that was met
  float footprint_;
  bool shared_;
  int found_ = 0;             // layers
  bool isTraced_ = false;     // whether the next layer's hits are there already
  bool seesThrough_ = false;  // whether any point of the layer lets light through
};

// The sums of a block's pixels: see PixelBlock::summedAt. Somebody else's, who outlives this.
template <class Sum>
class BlockSums {
 public:
  explicit BlockSums(Sum* first) : first_(first) {}
  BlockSums(PerRay<Sum>& sums) : first_(sums.values) {}  // NOLINT(google-explicit-constructor): it is one
  Sum& operator[](int at) const { return first_[at]; }

 private:
  Sum* first_;
};

// What turns layers into pixels. A Sum is what one pixel's samples add up to; a fresh one, `Sum{}`, is nothing.
template <class T>
concept Shader = requires(const T& shader, const Layer& layer, BlockSums<typename T::Sum> sums) {
  // Adds to the sum of each ray's pixel, `sums[layer.block.summedAt(ray)]`, what the layer brings to its sample.
  // Returns the rays whose samples need no layer behind this one; samples that are spent end without being told.
  { shader.shade(layer, sums) } -> std::same_as<RaySet>;
  // Writes pixel (x, y) from the sum of that many samples; each pixel once, on any thread.
  shader.store(sums[0], 1.0F, 0, 0);
};

// A shader of a grid's pixels that needs no sums where all samples of four of them meet one plain triangle whose
// material it takes so: it stores the same as by shade and store.
template <class T>
concept FourShader = Shader<T> && requires(const T& shader, const ShadingMaterial& material, const FourPixels& pixels) {
  { shader.takesFour(material) } -> std::same_as<bool>;
  shader.storeFour(pixels);
};

// A rectangle of pixels of a picture, cut off at its right and bottom edge.
struct Tile {
  int left, top, right, bottom;  // right and bottom lie outside
};

// Calls draw(tile) for squares of `side` pixels that cover the picture, on the request's threads, until its stop test
// says true.
Outcome drawTiles(const PictureRequest& request, int side, const std::function<void(Tile)>& draw);

// Follows the rays of a block through all layers, in one pass, and adds what they bring to `sums`.
template <Shader Shading>
void follow(LayerTrace& trace, const Shading& shader, BlockSums<typename Shading::Sum> sums) {
  while (trace.findNext()) trace.goOn(shader.shade(trace.layer(), sums));
}

template <Shader Shading>
void drawPass(const PictureRequest& request, const CameraRays& camera, const PixelSampling& sampling,
              const PixelBlock& block, const PerRay<std::uint32_t>& firsts, int pass, const Shading& shader,
              BlockSums<typename Shading::Sum> sums, MetTriangle& triangle) {
  LayerTrace trace(request, camera, sampling, block, firsts, pass, triangle);
  follow(trace, shader, sums);
}

// Stores the pixels of a block from the sums of all passes.
template <Shader Shading>
void storeBlock(const PictureRequest& request, const PixelSampling& sampling, const PixelBlock& block,
                const Shading& shader, BlockSums<typename Shading::Sum> sums) {
  const int perPixel = block.raysPerPixel();
  for (int ray = 0; ray < kRays; ray += perPixel) {
    const glm::ivec2 pixel = block.pixelOf(ray);
    if (pixel.x >= request.width || pixel.y >= request.height) continue;
    shader.store(sums[block.summedAt(ray)], static_cast<float>(perPixel * sampling.passes), pixel.x, pixel.y);
  }
}

template <Shader Shading>
void drawBlock(const PictureRequest& request, const CameraRays& camera, const PixelSampling& sampling,
               const PixelBlock& block, const Shading& shader, MetTriangle& triangle) {
  const PerRay<std::uint32_t> firsts = sampling.firstSamples(block);
  PerRay<typename Shading::Sum> sums{};
  for (int pass = 0; pass < sampling.passes; ++pass) {
    drawPass(request, camera, sampling, block, firsts, pass, shader, sums, triangle);
  }
  storeBlock(request, sampling, block, shader, sums);
}

constexpr int kGridPixels = 4;  // of a block

// The same on a grid, which has one pass.
template <FourShader Shading>
void drawGridBlock(const PictureRequest& request, const CameraRays& camera, const PixelSampling& sampling,
                   const PixelBlock& block, const Shading& shader, MetTriangle& triangle) {
  LayerTrace trace(request, camera, sampling, block, {}, 0, triangle);
  const MetTriangle* const one = trace.findOne();
  if (one != nullptr && shader.takesFour(one->material())) return shader.storeFour(trace.pixels());
  typename Shading::Sum held[kGridPixels]{};
  const BlockSums<typename Shading::Sum> sums(held);
  follow(trace, shader, sums);
  storeBlock(request, sampling, block, shader, sums);
}

// Shaders that are told of each tile, on its thread, before its first pixel and after its last.
template <class T>
concept TileShader = Shader<T> && requires(const T& shader, const Tile& tile) {
  shader.begin(tile);
  shader.end(tile);
};

// Traces the request's picture on its threads. The outcome does not depend on their number.
template <Shader Shading>
Outcome drawPicture(const PictureRequest& request, const PixelSampling& sampling, const Shading& shader) {
  const CameraRays camera(request.camera, request.width, request.height);
  return drawTiles(request, sampling.tileSide(), [&](Tile tile) {
    if constexpr (TileShader<Shading>) shader.begin(tile);
    PixelBlock block{sampling.block, tile.left, tile.top};
    MetTriangle triangle;
    for (; block.top < tile.bottom; block.top += block.pixels()) {
      for (block.left = tile.left; block.left < tile.right; block.left += block.pixels()) {
        if constexpr (FourShader<Shading>) {
          if (sampling.isGrid()) {
            drawGridBlock(request, camera, sampling, block, shader, triangle);
            continue;
          }
        }
        drawBlock(request, camera, sampling, block, shader, triangle);
      }
    }
    if constexpr (TileShader<Shading>) shader.end(tile);
  });
}

}  // namespace quillmere::render
