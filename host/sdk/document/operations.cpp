#include "base_document.h"
#include "bitmap.h"
#include "core/description.h"
#include "core/substitutes.h"

namespace quillmere::host {

Operations& operations() {
  using Bitmap = cinema::HostSide<cinema::BaseBitmap>;
  using cinema::DocumentOperations;
  static Operations table{
      .makeBitmap = Bitmap::make,
      .initBitmap = Bitmap::init,
      .loadBitmap = Bitmap::load,
      .saveBitmap = Bitmap::save,
      .activeRenderData = DocumentOperations::activeRenderData,
      .renderView = DocumentOperations::view,
      .activeView = DocumentOperations::view,
      .lookThrough = DocumentOperations::lookThrough,
      .renderDocument = DocumentOperations::render,
      .describeParameter = cinema::HostSide<cinema::Description>::setParameter,
  };
  return table;
}

}  // namespace quillmere::host
