#include "inputs.h"

#include <algorithm>
#include <utility>

#include "base/content_hash.h"
#include "base/file_reading.h"
#include "files/view_state.h"
#include "image/image.h"
#include "picture_record.h"
#include "repetition.h"

namespace quillmere::app {
namespace {

namespace fs = std::filesystem;

constexpr std::uintmax_t kLargest = std::uintmax_t{512} << 20U;  // bytes of a workflow, a panorama, a style image

// Of a file that other files only name; a change of what can't be read is none.
std::string hashOf(const fs::path& file) {
  if (file.empty()) return "";
  try {
    return contentHash(readBytes(file, kLargest));
  } catch (const Error&) {
    return "unreadable";
  }
}

// The file that a workflow file of ours names in place of a graph, beside it or by its full path; empty without one.
fs::path graphOf(const fs::path& workflow, const std::string& content) {
  if (!content.starts_with('{')) return {};
  try {
    const Json object = parsedRecord(content, "workflow");
    const auto graph = object.find("graph");
    if (graph == object.end() || !graph->is_string()) return {};
    return workflow.parent_path() / graph->get<std::string>();
  } catch (const Error&) {
    return {};
  }
}

std::string hashOfWorkflow(const fs::path& workflow) {
  if (workflow.empty()) return "";
  try {
    const std::string content = readText(workflow, kLargest);
    const fs::path graph = graphOf(workflow, content);
    return graph.empty() ? contentHash(content) : contentHash(contentHash(content) + hashOf(graph));
  } catch (const Error&) {
    return "unreadable";
  }
}

Json drawingInputs(const DrawingOptions& drawing) {
  Json inputs = jsonOf(drawing);
  std::error_code error;
  if (drawing.background && fs::is_regular_file(*drawing.background, error)) {
    inputs["background"] = hashOf(*drawing.background);
  }
  return inputs;
}

std::string listed(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
  return text;
}

std::string whyChanged(const Json& record, std::int32_t frame, const Json& inputs) {
  const auto made = record.find("inputs");
  if (made == record.end() || !made->is_object()) return "its record doesn't tell all that made it";
  if (record.value("frame", Json()) != frame) return "it is another frame";
  // Of a picture that is repeated: the record of either tells the same seed.
  const Json seed = seedTold();
  if (!seed.is_null() && seedRuleTold().is_null() && record.value("seed", Json()).dump() != seed.get<std::string>()) {
    return "changed: 'seed'";
  }
  const std::vector<std::string> changed = changedInputs(*made, inputs);
  if (!changed.empty()) return "changed: " + listed(changed);
  return "";
}

}  // namespace

Json inputsOf(EffectSession& session, const RenderInputs& given) {
  const NodeParameters& node = session.node();
  const auto style = styleTold();
  Json inputs{{"scene", given.scene}, {"camera", cameraOf(session)}};
  for (const auto& [key, value] : given.shown.items()) {
    if (key != "drawing") inputs[key] = value;
  }
  inputs["size"] = std::to_string(given.size.width) + "x" + std::to_string(given.size.height);
  inputs["guide"] = wordOf(static_cast<GuideMode>(node.number(QUILLMERE_GUIDE_MODE)));
  inputs["drawing"] = drawingInputs(given.drawing);
  inputs["workflow"] = hashOfWorkflow(given.workflow);
  inputs["control"] = given.controls;
  inputs["system-prompt"] = node.text(QUILLMERE_SYSTEM_PROMPT);
  inputs["prompt"] = node.text(QUILLMERE_PROMPT);
  inputs["style"] = hashOf(style ? *style : lockedStyle(given.writeDirectory));
  inputs["seed"] = seedRuleTold();
  if (given.format == FileFormat::Exr) {
    inputs["exr-encoding"] = given.exr == image::ExrEncoding::Srgb ? "srgb" : "linear";
  }
  return inputs;
}

std::vector<std::string> changedInputs(const Json& made, const Json& now) {
  std::vector<std::string> changed;
  const nlohmann::json before(made), after(now);  // without the order of members
  for (const auto& [name, value] : now.items()) {
    const auto former = before.is_object() ? before.find(name) : before.end();
    if (!before.is_object() || former == before.end() || *former != after[name]) changed.push_back(name);
  }
  if (!before.is_object()) return changed;
  for (const auto& [name, value] : before.items()) {
    if (!after.contains(name)) changed.push_back(name);
  }
  return changed;
}

Keeping keepingOf(const fs::path& file, std::int32_t frame, PictureSize size, const Json& inputs) {
  using State = Keeping::State;
  std::error_code error;
  if (!fs::exists(file, error)) return {State::Missing, {}};
  try {
    const image::Image picture = image::read(file);
    if (picture.width() != size.width || picture.height() != size.height) {
      return {State::Changed,
              "its size is " + std::to_string(picture.width()) + "x" + std::to_string(picture.height())};
    }
  } catch (const Error& damaged) {
    return {State::Changed, std::string("it can't be read: ") + damaged.what()};
  }
  try {
    const std::string why = whyChanged(recordOf(file), frame, inputs);
    return why.empty() ? Keeping{State::Kept, {}} : Keeping{State::Changed, why};
  } catch (const Error&) {
    return {State::Changed, "nothing tells what made it"};
  }
}

}  // namespace quillmere::app
