#include "openjd_template.h"

#include <algorithm>

#include "base/utf8.h"
#include "image/image.h"
#include "values/output_pattern.h"

namespace quillmere::app {
namespace {

namespace fs = std::filesystem;

// Limits of the specification, in characters.
constexpr std::size_t kLongestValue = 1024, kLongestName = 128, kLongestLabel = 64;
constexpr int kNoticeSeconds = 30;  // between the signal to a task and its end; a render ends within two

std::string shortened(const std::string& text, std::size_t most) {
  const std::u32string characters = decodeUtf8(printable(text));
  return encodeUtf8(std::u32string_view(characters).substr(0, most));
}

// "QUILLMERE_GUIDE_MODE" and "--style" as identifiers: "GuideMode", "Style".
std::string identifierOf(std::string name) {
  constexpr std::string_view kPrefix = "QUILLMERE_";
  if (name.starts_with(kPrefix)) name.erase(0, kPrefix.size());
  std::string identifier;
  bool begins = true;
  for (const char letter : name) {
    const auto byte = static_cast<unsigned char>(letter);
    if (std::isalnum(byte) != 0) identifier += static_cast<char>(begins ? std::toupper(byte) : std::tolower(byte));
    begins = std::isalnum(byte) == 0;
  }
  return identifier;
}

// The parameters of a template and the arguments that refer to them, which grow together.
class Call {
 public:
  // What stands for the parameter's value in an argument.
  std::string parameter(const std::string& name, const char* type, const Json& value, const Json& more,
                        const Json& interface) {
    Json definition{{"name", name}, {"type", type}};
    definition.update(more);
    definition["default"] = value;
    definition["userInterface"] = interface;
    definitions_.push_back(definition);
    return "{{Param." + name + "}}";
  }
  // Text that may hold anything: braces, which mean something in an argument, can only stand in a value.
  std::string literal(const std::string& text) {
    if (text.find("{{") == std::string::npos) return text;
    return parameter("Text" + std::to_string(++texts_), "STRING", text, Json::object(), {{"control", "HIDDEN"}});
  }
  void argument(const std::string& text) { arguments_.push_back(text); }

  const Json& definitions() const { return definitions_; }
  const Json& arguments() const { return arguments_; }

 private:
  Json definitions_ = Json::array(), arguments_ = Json::array();
  int texts_ = 0;
};

Json interfaceOf(const char* control, const std::string& label, const std::string& group) {
  Json interface {
    {"control", control}, { "label", shortened(label, kLongestLabel) }
  };
  if (!group.empty()) interface["groupLabel"] = shortened(group, kLongestLabel);
  return interface;
}

constexpr const char* kSceneGroup = "Scene";
constexpr const char* kOutputGroup = "Output";

struct FileField {
  const char *option, *label, *group, *kind;
  std::vector<const char*> patterns;  // of the files' names
};

const FileField& fieldOf(const std::string& option) {
  static const std::vector<FileField> fields{
      {"", "Scene", kSceneGroup, "glTF scenes", {"*.glb", "*.gltf", "*.vrm"}},
      {"--workflow", "Workflow", "Effect", "Workflows", {"*.json", "*.png"}},
      {"--style", "Style Image", "Effect", "Pictures", {"*.png", "*.jpg", "*.jpeg", "*.webp", "*.tif", "*.tiff"}},
      {"--settings", "Settings", "Effect", "Settings", {"*.json"}}};
  return *std::find_if(fields.begin(), fields.end() - 1, [&](const FileField& one) { return option == one.option; });
}

// As engines resolve the default of a parameter: a relative path starts where the template lies.
std::string placeOf(const fs::path& file, const fs::path& folder) {
  const fs::path within = file.lexically_relative(folder);
  return within.empty() || *within.begin() == ".." ? file.string() : within.generic_string();
}

void addFile(const RenderArgument& argument, const fs::path& folder, Call& call) {
  const FileField& field = fieldOf(argument.option);
  const Json filter{{"label", field.kind}, {"patterns", field.patterns}};
  Json interface = interfaceOf("CHOOSE_INPUT_FILE", field.label, field.group);
  interface["fileFilters"] = Json::array({filter});
  const std::string name = argument.option.empty() ? "Scene" : identifierOf(argument.option);
  const std::string reference = call.parameter(name, "PATH", placeOf(argument.value, folder),
                                               {{"objectType", "FILE"}, {"dataFlow", "IN"}}, interface);
  call.argument(argument.option.empty() ? reference : argument.option + "=" + reference);
}

void addArgument(const RenderArgument& argument, const fs::path& folder, Call& call) {
  if (argument.kind == RenderArgument::Kind::File) return addFile(argument, folder, call);
  if (argument.kind == RenderArgument::Kind::Flag) return call.argument(argument.option);
  call.argument(argument.option + "=" + call.literal(argument.value));
}

void addFrames(const OpenJdJob& job, Call& call) {
  call.parameter(
      "Frames", "STRING", job.render.frames.text(),
      {{"description", "Frames to render: 1-48, 1-48:4, or several of these with commas between them, ascending"},
       {"minLength", 1}},
      interfaceOf("LINE_EDIT", "Frames", kOutputGroup));
  call.argument("--frames={{Task.Param.Frame}}");
}

void addSize(PictureSize size, Call& call) {
  const Json limits{{"minValue", 1}, {"maxValue", image::kMaxSide}};
  const std::string width =
      call.parameter("Width", "INT", size.width, limits, interfaceOf("SPIN_BOX", "Width", kOutputGroup));
  const std::string height =
      call.parameter("Height", "INT", size.height, limits, interfaceOf("SPIN_BOX", "Height", kOutputGroup));
  call.argument("--size=" + width + "x" + height);
}

void addOutput(const fs::path& pattern, Call& call) {
  const fs::path folder = OutputPattern::parse(pattern.string()).folder();
  const std::string place =
      call.parameter("OutputFolder", "PATH", folder.string(), {{"objectType", "DIRECTORY"}, {"dataFlow", "OUT"}},
                     interfaceOf("CHOOSE_DIRECTORY", "Output Folder", kOutputGroup));
  const std::string name = call.parameter(
      "OutputName", "STRING", pattern.lexically_relative(folder).generic_string(),
      {{"description", "Name of each frame's file; #### stands for its number, the ending for the format"},
       {"minLength", 1}},
      interfaceOf("LINE_EDIT", "File Names", kOutputGroup));
  call.argument("--output=" + place + "/" + name);
}

void addRate(const FrameRate& rate, Call& call) {
  call.argument(
      "--fps=" +
      call.parameter("FramesPerSecond", "STRING", rate.text(),
                     {{"description", "Of the scene's animation, such as 24, 23.976 or 24000/1001"}, {"minLength", 1}},
                     interfaceOf("LINE_EDIT", "Frames per Second", kSceneGroup)));
}

void addCamera(const OpenJdJob& job, Call& call) {
  if (job.cameras.empty()) return;
  call.argument("--camera=" + call.parameter("Camera", "STRING", job.camera, {{"allowedValues", job.cameras}},
                                             interfaceOf("DROPDOWN_LIST", "Camera", kSceneGroup)));
}

// Texts that are too long for an engine's form stay in the settings.
bool fits(const PanelField& field) {
  const auto isShort = [](const std::string& text) { return decodeUtf8(text).size() <= kLongestValue; };
  const auto& choices = field.parameter.choices;
  return isShort(field.value) &&
         std::all_of(choices.begin(), choices.end(), [&](const auto& one) { return isShort(one.text); });
}

std::string fieldReference(const PanelField& field, Call& call) {
  const Parameter& parameter = field.parameter;
  const std::string name = identifierOf(parameter.name);
  const auto ask = [&](const char* control) { return interfaceOf(control, parameter.label, parameter.group); };
  if (parameter.kind == Parameter::Kind::Bool) {
    return call.parameter(name, "STRING", field.value, {{"allowedValues", {"true", "false"}}}, ask("CHECK_BOX"));
  }
  if (!parameter.choices.empty()) {
    Json texts = Json::array();
    for (const auto& choice : parameter.choices) texts.push_back(choice.text);
    return call.parameter(name, "STRING", field.value, {{"allowedValues", texts}}, ask("DROPDOWN_LIST"));
  }
  if (parameter.kind == Parameter::Kind::Whole) {
    Json limits = Json::object();
    if (parameter.least) limits["minValue"] = *parameter.least;
    if (parameter.most) limits["maxValue"] = *parameter.most;
    return call.parameter(name, "INT", std::stoi(field.value), limits, ask("SPIN_BOX"));
  }
  const bool lines = parameter.id == QUILLMERE_PROMPT || parameter.id == QUILLMERE_SYSTEM_PROMPT;
  return call.parameter(name, "STRING", field.value, Json::object(), ask(lines ? "MULTILINE_EDIT" : "LINE_EDIT"));
}

void addField(const PanelField& field, Call& call) {
  call.argument("--set=" + field.parameter.name + "=" + fieldReference(field, call));
}

Call callOf(const OpenJdJob& job) {
  Call call;
  call.argument("render");
  for (const RenderArgument& argument : job.render.arguments) addArgument(argument, job.folder, call);
  addCamera(job, call);
  addRate(job.rate, call);
  addFrames(job, call);
  addSize(job.size, call);
  addOutput(job.render.output, call);
  for (const PanelField& field : job.fields) {
    if (fits(field)) addField(field, call);
  }
  call.argument("--write-dir={{Session.WorkingDirectory}}/quillmere");
  call.argument("--resume");
  call.argument("--log={{Session.WorkingDirectory}}/frames.log");
  call.argument("--report=openjd");
  return call;
}

Json parameterSpace(std::int64_t framesPerTask) {
  Json frame{{"name", "Frame"}, {"type", "INT"}, {"range", "{{Param.Frames}}"}};
  if (framesPerTask > 1) {
    frame["type"] = "CHUNK[INT]";
    frame["chunks"] = {{"defaultTaskCount", framesPerTask}, {"rangeConstraint", "NONCONTIGUOUS"}};
  }
  return {{"taskParameterDefinitions", Json::array({frame})}};
}

// Of the job: what the queue shows. Braces would mean something.
std::string nameOf(std::string name) {
  std::replace(name.begin(), name.end(), '{', '(');
  const std::string shown = shortened(name, kLongestName);
  return shown.empty() ? "quillmere" : shown;
}

}  // namespace

Json openJdTemplate(const OpenJdJob& job) {
  const Call call = callOf(job);
  const Json run{{"command", "quillmere"},
                 {"args", call.arguments()},
                 {"cancelation", {{"mode", "NOTIFY_THEN_TERMINATE"}, {"notifyPeriodInSeconds", kNoticeSeconds}}}};
  const Json step{{"name", "Render"},
                  {"parameterSpace", parameterSpace(job.framesPerTask)},
                  {"script", {{"actions", {{"onRun", run}}}}}};
  Json whole{{"specificationVersion", "jobtemplate-2023-09"}, {"name", nameOf(job.render.name)}};
  if (job.framesPerTask > 1) whole["extensions"] = Json::array({"TASK_CHUNKING"});
  whole["parameterDefinitions"] = call.definitions();
  whole["steps"] = Json::array({step});
  return whole;
}

}  // namespace quillmere::app
