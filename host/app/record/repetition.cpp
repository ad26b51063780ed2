#include "repetition.h"

#include <limits>

#include "base/file_reading.h"
#include "effect/controls.h"
#include "image/image.h"
#include "picture_record.h"
#include "values/failure.h"

namespace quillmere::app {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kLongestText = 4U << 20U;  // bytes
constexpr std::size_t kLargestWorkflow = 32U << 20U;

// The values of a record, each checked when it is asked for; none for a key that is not there.
class Values {
 public:
  Values(const Json& record, const fs::path& picture) : record_(record), picture_(picture) {}

  std::optional<std::string> text(const char* key) const {
    const Json* value = find(key);
    if (value == nullptr) return {};
    if (!value->is_string()) refuse(key, "is no text");
    const auto& text = value->get_ref<const std::string&>();
    if (text.size() > kLongestText || text.find('\0') != std::string::npos) refuse(key, "is no text that can be given");
    return text;
  }

  std::optional<std::int32_t> whole(const char* key, std::int32_t least, std::int32_t most) const {
    const Json* value = find(key);
    if (value == nullptr) return {};
    const bool fits = value->is_number_unsigned() ? value->get<std::uint64_t>() <= static_cast<std::uint64_t>(most)
                                                  : value->is_number_integer();
    const std::int64_t number = fits ? value->get<std::int64_t>() : 0;
    if (!fits || number < least || number > most) {
      refuse(key, "is no whole number from " + std::to_string(least) + " to " + std::to_string(most));
    }
    return static_cast<std::int32_t>(number);
  }

  // A whole number, or a text where it is none.
  std::optional<FrameRate> rate() const {
    const Json* value = find("fps");
    if (value != nullptr && value->is_string()) return parseFrameRate(*text("fps"));
    const auto frames = whole("fps", 1, kMostFps);
    return frames ? std::optional(FrameRate{*frames, 1}) : std::nullopt;
  }

  std::optional<double> seconds(const char* key) const {
    const Json* value = find(key);
    if (value == nullptr) return {};
    if (!value->is_number()) refuse(key, "is no number");
    return value->get<double>();
  }

  bool isTrue(const char* key) const {
    const Json* value = find(key);
    return value != nullptr && value->is_boolean() && value->get<bool>();
  }

  std::optional<Repetition::Seed> seed() const {
    const auto value = record_.find("seed");
    if (value == record_.end()) return {};
    if (value->is_null()) return Repetition::Seed{};
    if (!value->is_number_unsigned()) refuse("seed", "is no whole number from 0 to 2^64 - 1");
    return Repetition::Seed{value->get<std::uint64_t>()};
  }

  Json controls() const {
    try {
      return checkedControls(record_.value("controls", Json()));
    } catch (const Error& error) {
      refuse("controls", error.what());
    }
  }

 private:
  const Json* find(const char* key) const {
    const auto found = record_.find(key);
    return found == record_.end() || found->is_null() ? nullptr : &*found;
  }
  [[noreturn]] void refuse(const std::string& key, const std::string& why) const {
    throw Failure(ExitStatus::Failed, "picture '" + picture_.string() + "'", "\"" + key + "\" of what made it " + why,
                  "render without --like");
  }

  const Json& record_;
  const fs::path& picture_;
};

// Empty for what can't be read.
std::string contentOf(const fs::path& workflow) {
  try {
    return readText(workflow, kLargestWorkflow);
  } catch (const Error&) {
    return {};
  }
}

void addPrompts(const Values& values, std::vector<Assignment>& assignments) {
  const auto system = values.text("system_prompt"), prompt = values.text("prompt");
  const auto both = values.text("effective_prompt");
  if (!both && !(system && prompt)) return;
  const bool apart = system && prompt;
  assignments.push_back({QUILLMERE_UNLOCK_SYSTEM_PROMPT, true});
  assignments.push_back({QUILLMERE_SYSTEM_PROMPT, apart ? *system : ""});
  assignments.push_back({QUILLMERE_PROMPT, apart ? *prompt : *both});
}

void addGuideMode(const Values& values, std::vector<Assignment>& assignments) {
  const auto word = values.text("guide_mode");
  if (word) assignments.push_back({QUILLMERE_GUIDE_MODE, static_cast<int>(guideModeOf(*word))});
}

// What a workflow was before the helper wrote `controls` into it.
Json withoutControls(Json workflow, const Json& controls) {
  workflow.erase("controls");
  const auto parameters = workflow.find("parameters");
  if (parameters == workflow.end() || !parameters->is_object()) return workflow;
  for (const auto& control : controls.items()) parameters->erase(control.key());
  if (parameters->empty()) workflow.erase("parameters");
  return workflow;
}

// Whether the record's workflow `made` can have come from what its file holds now.
bool alike(const Json& made, const Json& present, const Json& controls) {
  if (controls.empty()) return nlohmann::json(present) == nlohmann::json(made);
  // A graph alone has been put into an object of ours.
  const bool wrapped = !present.contains("backend") && made.contains("graph");
  const Json before = wrapped ? made["graph"] : withoutControls(made, controls);
  return nlohmann::json(wrapped ? present : withoutControls(present, controls)) == nlohmann::json(before);
}

}  // namespace

Repetition repetitionOf(const Json& record, const fs::path& picture) {
  using Limits = std::numeric_limits<std::int32_t>;
  const Values values(record, picture);
  Repetition made;
  made.scene = values.text("scene");
  made.camera = values.text("camera");
  made.workflow = values.text("workflow_path");
  made.style = values.text("style");
  made.frame = values.whole("frame", Limits::min(), Limits::max());
  made.rate = values.rate();
  made.clip = values.text("clip");
  made.view = values.text("view");
  made.turntable = values.whole("turntable", 2, kLongestTurn);
  made.time = values.seconds("time");
  made.loop = values.isTrue("loop");
  made.seed = values.seed();
  made.controls = values.controls();
  const auto width = values.whole("width", 1, image::kMaxSide), height = values.whole("height", 1, image::kMaxSide);
  if (width && height) made.size = PictureSize{*width, *height};
  if (const auto drawing = record.find("drawing"); drawing != record.end()) {
    made.drawing = drawingOptionsOf(*drawing, "picture '" + picture.string() + "'");
  }
  addPrompts(values, made.assignments);
  addGuideMode(values, made.assignments);
  return made;
}

bool workflowChanged(const Json& record, const fs::path& now) {
  const auto made = record.find("workflow");
  if (made == record.end() || !made->is_object()) return false;
  const std::string content = contentOf(now);
  if (!content.starts_with('{')) return false;
  try {
    const Json present = parsedRecord(content, now.string());
    // The record has the graph itself in place of its file's name.
    const bool elsewhere = present.contains("graph") && present["graph"].is_string();
    return !elsewhere && !alike(*made, present, checkedControls(record.value("controls", Json())));
  } catch (const Error&) {
    return true;
  }
}

}  // namespace quillmere::app
