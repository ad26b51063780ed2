#pragma once

#include "c4d.h"
#include "guide_mode.h"

namespace quillmere {

// The camera that the node links to; else the document's scene camera, the render view's, or the active view's. Null
// when there is none of them, or no settings or document.
cinema::BaseObject* ResolveConfiguredCamera(cinema::BaseContainer* settings, cinema::BaseDocument* document);

// Makes a picture of the document through the camera and saves it as a PNG of `width` x `height` pixels. Scene cameras
// and display modes that are borrowed for it are put back in any case. On failure a file that was there before stays.
// Render calls that reach the effect on this thread meanwhile do nothing but say so on the console.
bool RenderReferenceImage(cinema::BaseDocument* document, cinema::BaseObject* camera, GuideMode mode, int width,
                          int height, const cinema::Filename& png);

// The picture by a render of the document, with a copy of its render settings: slow, exact.
bool RenderCameraGuide(cinema::BaseDocument* document, cinema::BaseObject* camera, int width, int height,
                       const cinema::Filename& png);

// The picture as the render view, or else the active view, draws it: fast.
bool CaptureViewportGuide(cinema::BaseDocument* document, cinema::BaseObject* camera, int width, int height,
                          const cinema::Filename& png);

}  // namespace quillmere
