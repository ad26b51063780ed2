#include "host_facts.h"

#include <cstdlib>
#include <string>

#include "base/atomic_file.h"
#include "effect/parameter_ids.h"
#include "values/guide_mode.h"

namespace quillmere::app {
namespace {

using Json = nlohmann::ordered_json;

// The variables are the helper's.
constexpr const char* kFactsFile = "QUILLMERE_PROVENANCE_FILE";
constexpr const char* kSeed = "QUILLMERE_SEED";
constexpr const char* kStyle = "QUILLMERE_STYLE";

std::string cameraOf(EffectSession& session) {
  const Json stored = session.node().stored()[std::to_string(QUILLMERE_CAMERA)];
  if (stored.is_string() && !stored.empty()) return stored;
  const auto& cameras = session.document().cameras();
  return cameras.empty() ? "" : cameras.front().name;
}

}  // namespace

void tellHelper(EffectSession& session, const std::filesystem::path& scene, int fps,
                const std::filesystem::path& folder) {
  const NodeParameters& node = session.node();
  const Json facts{{"scene", std::filesystem::absolute(scene).lexically_normal().string()},
                   {"camera", cameraOf(session)},
                   {"fps", fps},
                   {"guide_mode", wordFor(static_cast<GuideMode>(node.number(QUILLMERE_GUIDE_MODE)))},
                   {"workflow_id", node.text(QUILLMERE_WORKFLOW_ID)},
                   {"host_version", QUILLMERE_VERSION},
                   {"system_prompt", node.text(QUILLMERE_SYSTEM_PROMPT)},
                   {"prompt", node.text(QUILLMERE_PROMPT)}};
  std::error_code error;  // a folder that is missing is told by the file that can't be written
  std::filesystem::create_directories(folder, error);
  const std::filesystem::path file = std::filesystem::absolute(folder) / "provenance.json";
  writeFile(file, facts.dump(2, ' ', false, Json::error_handler_t::replace) + "\n");
  ::setenv(kFactsFile, file.c_str(), 1);
}

void tellSeed(std::uint64_t seed) {
  ::setenv(kSeed, std::to_string(seed).c_str(), 1);
}

void tellStyle(const std::string& picture) {
  ::setenv(kStyle, picture.c_str(), 1);
}

}  // namespace quillmere::app
