#include "pass_order.h"

#include "base/error.h"

namespace quillmere::app {
namespace {

Json namesOf(const PassWish& wish) {
  Json names = Json::array();
  for (const NamedPass& one : kNamedPasses) {
    if (!wish.passes.has(one.pass)) continue;
    const bool ofKind = one.pass == render::Pass::Normal && wish.normal;
    names.push_back(one.name + (ofKind ? std::string(":") + wordOf(kNormalKindWords, *wish.normal) : ""));
  }
  for (const std::string& matte : wish.mattes) names.push_back("matte:" + matte);
  return names;
}

std::string textAt(const Json& object, const char* key) {
  const auto text = object.find(key);
  return text != object.end() && text->is_string() ? text->get<std::string>() : "";
}

}  // namespace

Json jsonOf(const PassOrder& order) {
  if (order.wish.empty()) return {};
  Json told{{"passes", namesOf(order.wish)}};
  const PassSettings& settings = order.settings;
  if (order.wish.passes.has(render::Pass::Depth)) {
    if (settings.range) told["depth-range"] = textOf(*settings.range);
    told["depth-kind"] = wordOf(kDepthKindWords, settings.depth.value_or(render::DepthTone::Kind::Inverse));
  }
  if (order.wish.passes.has(render::Pass::Normal) && settings.normal) {
    told["normal-kind"] = wordOf(kNormalKindWords, *settings.normal);
  }
  return told;
}

PassOrder passOrderIn(const Json& told) {
  if (!told.is_object()) return {};
  PassOrder order{wishIn(told), {}};
  if (const std::string range = textAt(told, "depth-range"); !range.empty()) {
    order.settings.range = parseDepthRange(range);
  }
  order.settings.depth = kindCalled<render::DepthTone::Kind>(kDepthKindWords, textAt(told, "depth-kind"));
  order.settings.normal = kindCalled<NormalKind>(kNormalKindWords, textAt(told, "normal-kind"));
  return order;
}

}  // namespace quillmere::app
