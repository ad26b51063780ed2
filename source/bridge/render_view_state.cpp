#include "render_view_state.h"

#include "json_text.h"
#include "text_file.h"

namespace quillmere {

using namespace cinema;

String ReadLockedStyleImage(const Filename& stateFile) {
  return ExtractJsonString(ReadTextFile(stateFile), kLockedStyleImageKey);
}

void WriteRenderViewState(const Filename& stateFile, const Filename& historyDirectory, const String& lastImage,
                          const String& statusText, const String& referenceImage) {
  WriteTextFile(stateFile, JsonLines()
                               .Add("last_image", lastImage)
                               .Add("selected_image", lastImage)
                               .Add(kLockedStyleImageKey, ReadLockedStyleImage(stateFile))
                               .Add("history_dir", historyDirectory.GetString())
                               .Add("reference_image", referenceImage)
                               .Add("status_text", statusText)
                               .Text());
}

}  // namespace quillmere
