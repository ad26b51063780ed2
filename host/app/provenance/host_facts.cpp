#include "host_facts.h"

#include <cstdlib>
#include <string>

#include "effect/parameter_ids.h"
#include "options/guide_mode.h"

namespace quillmere::app {
namespace {

using Json = nlohmann::ordered_json;

// The variables are the helper's.
constexpr const char* kFacts = "QUILLMERE_PROVENANCE";
constexpr const char* kSeed = "QUILLMERE_SEED";
constexpr const char* kStyle = "QUILLMERE_STYLE";
constexpr std::size_t kLongest = 100'000;  // bytes; Linux starts no process with a variable of more than 128 KiB

std::string cameraOf(EffectSession& session) {
  const Json stored = session.node().stored()[std::to_string(QUILLMERE_CAMERA)];
  if (stored.is_string() && !stored.empty()) return stored;
  const auto& cameras = session.document().cameras();
  return cameras.empty() ? "" : cameras.front().name;
}

std::string textOf(const Json& facts) {
  return facts.dump(-1, ' ', true, Json::error_handler_t::replace);
}

}  // namespace

void tellHelper(EffectSession& session, const SceneOptions& scene) {
  const NodeParameters& node = session.node();
  const bool final = node.number(QUILLMERE_GUIDE_MODE) == static_cast<int>(GuideMode::FinalRender);
  Json facts{{"scene", std::filesystem::absolute(scene.scene).lexically_normal().string()},
             {"camera", cameraOf(session)},
             {"fps", scene.fps},
             {"guide_mode", final ? "final" : "quick"},
             {"workflow_id", node.text(QUILLMERE_WORKFLOW_ID)},
             {"host_version", QUILLMERE_VERSION},
             {"system_prompt", node.text(QUILLMERE_SYSTEM_PROMPT)},
             {"prompt", node.text(QUILLMERE_PROMPT)}};
  // The helper keeps both of them as the one prompt that the model is given.
  if (textOf(facts).size() > kLongest) {
    facts.erase("system_prompt");
    facts.erase("prompt");
  }
  ::setenv(kFacts, textOf(facts).c_str(), 1);
}

void tellSeed(std::uint64_t seed) {
  ::setenv(kSeed, std::to_string(seed).c_str(), 1);
}

void tellStyle(const std::string& picture) {
  ::setenv(kStyle, picture.c_str(), 1);
}

}  // namespace quillmere::app
