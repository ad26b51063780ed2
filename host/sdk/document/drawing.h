#pragma once

#include <exception>
#include <new>

#include "document/base_document.h"

namespace quillmere::host {

struct Drawing {
  cinema::RENDERRESULT result = cinema::RENDERRESULT::OK;
  image::Image picture;  // empty unless the result is OK
};

// The document at its time, drawn through `object`, which must be one of its cameras: this host has no editor camera.
// The result is OK, USERBREAK, OUTOFMEMORY or FAILED, the last two with the reason on the console. Doesn't throw.
Drawing drawQuick(DocumentParts& document, const cinema::BaseObject* object, int width, int height);
Drawing drawFinal(DocumentParts& document, const cinema::BaseObject* object, int width, int height,
                  const render::FinalSettings& settings, const render::StopTest& userBreak);

// With the document's settings, and its passes beside it, as drawQuick has them.
Drawing drawFinalGuide(DocumentParts& document, const cinema::BaseObject* object, int width, int height,
                       const render::StopTest& userBreak);

// Says on the console what was not drawn, and why.
void reportUndrawn(const std::string& why);

// What `draw` returns. When it throws, the reason is on the console and a Result of OUTOFMEMORY or FAILED is returned.
template <class Result, class Draw>
Result drawOrReport(Draw&& draw) {
  try {
    return draw();
  } catch (const std::bad_alloc&) {
    reportUndrawn("there is not enough memory");
    return {cinema::RENDERRESULT::OUTOFMEMORY, {}};
  } catch (const std::exception& error) {
    reportUndrawn(error.what());
    return {cinema::RENDERRESULT::FAILED, {}};
  }
}

}  // namespace quillmere::host
