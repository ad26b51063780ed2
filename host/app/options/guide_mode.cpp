#include "guide_mode.h"

#include <CLI/CLI.hpp>
#include <utility>

namespace quillmere::app {

void addGuideMode(CLI::App& command, std::function<void(GuideMode)> chosen) {
  command
      .add_option_function<std::string>(
          "--guide",
          [chosen = std::move(chosen)](const std::string& word) {
            chosen(word == "final" ? GuideMode::FinalRender : GuideMode::QuickShading);
          },
          "How the guide image is drawn: quick as a viewport shows it, final as a full rendering")
      ->check(CLI::IsMember({"quick", "final"}))
      ->type_name("quick|final");
}

}  // namespace quillmere::app
