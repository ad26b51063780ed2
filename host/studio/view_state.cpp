#include "view_state.h"

#include <array>
#include <utility>

#include "base/atomic_file.h"
#include "base/error.h"
#include "base/file_reading.h"
#include "base/json.h"
#include "files/exchange_files.h"

namespace quillmere::studio {
namespace {

namespace fs = std::filesystem;

constexpr std::uintmax_t kLargest = std::uintmax_t{1} << 20U;  // bytes
constexpr int kDeepest = 4;

struct Member {
  const char* key;
  std::string ViewState::*value;
};
// In the order in which the effect writes them.
constexpr std::array kMembers{Member{"last_image", &ViewState::last},
                              Member{"selected_image", &ViewState::selected},
                              Member{"locked_style_image", &ViewState::lockedStyle},
                              Member{"history_dir", &ViewState::history},
                              Member{"reference_image", &ViewState::guide},
                              Member{"status_text", &ViewState::status}};

std::string escaped(const std::string& text) {
  std::string result;
  for (const char letter : text) {
    switch (letter) {
      case '"':
      case '\\':
        result += {'\\', letter};
        break;
      case '\n':
        result += "\\n";
        break;
      case '\r':
        result += "\\r";
        break;
      case '\t':
        result += "\\t";
        break;
      default:
        if (static_cast<unsigned char>(letter) < 0x20U) throw Error("the path holds control characters; rename it");
        result += letter;
    }
  }
  return result;
}

std::string textOf(const ViewState& state) {
  std::string text = "{\n";
  for (const Member& member : kMembers) {
    text += std::string("  \"") + member.key + "\": \"" + escaped(state.*member.value) + "\"" +
            (&member == &kMembers.back() ? "\n" : ",\n");
  }
  return text + "}\n";
}

}  // namespace

std::optional<ViewState> viewStateIn(const fs::path& writeDirectory) {
  try {
    const Json json = parsedJson(readText(app::viewStateFile(writeDirectory), kLargest), kDeepest);
    if (!json.is_object()) return {};
    ViewState state;
    for (const Member& member : kMembers) {
      const auto value = json.find(member.key);
      if (value != json.end() && value->is_string()) state.*member.value = value->get<std::string>();
    }
    return state;
  } catch (const Error&) {
    return {};
  }
}

void choose(const fs::path& writeDirectory, const ViewChoice& choice) {
  const fs::path file = app::viewStateFile(writeDirectory);
  auto state = viewStateIn(writeDirectory);
  std::error_code error;
  if (!state && fs::exists(fs::symlink_status(file, error))) {
    throw Error("'" + file.string() + "' is being written or is damaged; try again, or render a frame");
  }
  if (!state) state.emplace();
  if (choice.selected) state->selected = *choice.selected;
  if (choice.lockedStyle) state->lockedStyle = *choice.lockedStyle;
  writeFile(file, textOf(*state));
}

}  // namespace quillmere::studio
