#include "material_filter.h"

#include "ray_packet.h"
#include "sampling.h"

namespace quillmere::render {
namespace {

constexpr float kInvisible = 1.0F / 512.0F;

bool facesAway(const RTCFilterFunctionNArguments& question, unsigned int ray) {
  const unsigned int count = question.N;
  const float along = RTCRayN_dir_x(question.ray, count, ray) * RTCHitN_Ng_x(question.hit, count, ray) +
                      RTCRayN_dir_y(question.ray, count, ray) * RTCHitN_Ng_y(question.hit, count, ray) +
                      RTCRayN_dir_z(question.ray, count, ray) * RTCHitN_Ng_z(question.hit, count, ray);
  return along > 0.0F;  // both are in object space, where front faces run counter-clockwise whatever mirrors them
}

bool isSeen(const RTCFilterFunctionNArguments& question, unsigned int ray) {
  const auto& context = *static_cast<const TraceContext*>(question.context);
  const unsigned int count = question.N;
  const std::uint32_t id = RTCHitN_instID(question.hit, count, ray, 0);
  const Instance& instance = context.scene->instances()[id];
  const Appearance& appearance = *instance.appearance;
  if (appearance.frontOnly && facesAway(question, ray)) return false;
  if (appearance.material->alpha == scene::Material::Alpha::Opaque) return true;

  const TrianglePoint point{RTCHitN_primID(question.hit, count, ray), RTCHitN_u(question.hit, count, ray),
                            RTCHitN_v(question.hit, count, ray)};
  const float alpha = alphaOf(appearance, *instance.surface->geometry, point);
  if (appearance.material->alpha == scene::Material::Alpha::Mask) return alpha >= appearance.material->alphaCutoff;
  if (context.blending == Blending::Layered) return alpha > kInvisible;
  const std::uint32_t chance = RTCRayN_id(question.ray, count, ray);
  return unitFloat(mixed(chance ^ mixed(point.triangle ^ mixed(id)))) < alpha;
}

}  // namespace

void filterByMaterial(const RTCFilterFunctionNArguments* question) {
  for (unsigned int ray = 0; ray < question->N; ++ray) {
    if (question->valid[ray] == -1 && !isSeen(*question, ray)) question->valid[ray] = 0;
  }
}

}  // namespace quillmere::render
