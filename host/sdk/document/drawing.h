#pragma once

#include "document_parts.h"

namespace quillmere::host {

struct Drawn {
  cinema::RENDERRESULT result = cinema::RENDERRESULT::OK;
  image::Image picture;  // empty unless the result is OK
};

// The document at its time, drawn through `object`, which must be one of its cameras: this host has no editor camera.
// The result is OK, USERBREAK, OUTOFMEMORY or FAILED, the last two with the reason on the console. Doesn't throw.
Drawn drawQuick(DocumentParts& document, const cinema::BaseObject* object, int width, int height);
Drawn drawFinal(DocumentParts& document, const cinema::BaseObject* object, int width, int height,
                const FrameSettings& settings, const BreakTest& userBreak);

// Says on the console what was not drawn, and why.
void reportUndrawn(const std::string& why);

}  // namespace quillmere::host
