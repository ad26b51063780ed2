#pragma once

#include "c4d.h"

// render_view_state.json: the last successful render, for an image viewer that follows the renders.
namespace quillmere {

constexpr char kLockedStyleImageKey[] = "locked_style_image";

// The style image that the viewer has chosen for the next renders; empty when it hasn't, or there is no such file.
cinema::String ReadLockedStyleImage(const cinema::Filename& stateFile);

// Rewrites the file. The viewer's locked style image stays, its selection becomes the new image. A file that can't be
// opened stays as it was; one that can't be written to its end, as on a full disk, is cut off and has lost that image.
void WriteRenderViewState(const cinema::Filename& stateFile, const cinema::Filename& historyDirectory,
                          const cinema::String& lastImage, const cinema::String& statusText,
                          const cinema::String& referenceImage);

}  // namespace quillmere
