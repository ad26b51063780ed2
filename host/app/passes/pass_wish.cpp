#include "pass_wish.h"

#include "values/failure.h"
#include "values/texts.h"

namespace quillmere::app {
namespace {

constexpr std::string_view kMatte = "matte:", kNormal = "normal:";
constexpr std::size_t kMostMattes = 64;  // each is a file of every frame

[[noreturn]] void refuse(const std::string& wish, const std::string& why) {
  throw Failure(ExitStatus::Failed, "the workflow asks for the pass '" + wish + "'", why,
                "choose another workflow, or look at it with: quillmere workflows check WORKFLOW");
}

void add(const std::string& text, PassWish& wish) {
  if (text.starts_with(kMatte)) return wish.mattes.push_back(text.substr(kMatte.size()));
  const bool ofKind = text.starts_with(kNormal);
  const NamedPass* pass = passCalled(ofKind ? "normal" : text);
  if (pass == nullptr || !pass->isPicture) refuse(text, "this host has none of that name");
  wish.passes.add(pass->pass);
  if (!ofKind) return;
  const auto kind = kindCalled<NormalKind>(kNormalKindWords, text.substr(kNormal.size()));
  if (!kind) refuse(text, "this host knows no such kind");
  if (wish.normal && wish.normal != kind) refuse(text, "it asks for another kind of normals as well");
  wish.normal = kind;
}

}  // namespace

PassWish wishIn(const Json& answer) {
  PassWish wish;
  const auto passes = answer.is_object() ? answer.find("passes") : answer.end();
  if (!answer.is_object() || passes == answer.end() || !passes->is_array()) return wish;
  for (const Json& one : *passes) {
    if (one.is_string()) add(one.get<std::string>(), wish);
  }
  if (wish.mattes.size() > kMostMattes) refuse(wish.mattes.back(), "it asks for more than 64 mattes");
  return wish;
}

WishedMatte matteCalled(const std::string& name, const SceneNames& names) {
  if (const auto object = indexOfName(names.objects, name)) return {names.objects[*object], WishedMatte::Of::Object};
  if (const auto material = indexOfName(names.materials, name)) {
    return {names.materials[*material], WishedMatte::Of::Material};
  }
  std::vector<std::string> all = names.objects;
  all.insert(all.end(), names.materials.begin(), names.materials.end());
  constexpr std::size_t kTold = 20;
  const std::string near = suggestion(all, name);
  if (all.size() > kTold) all.resize(kTold);
  throw Failure(ExitStatus::Failed, "the workflow asks for a mask of '" + name + "'",
                "the scene has no object and no material of that name", near + "it has, among others: " + listed(all));
}

}  // namespace quillmere::app
