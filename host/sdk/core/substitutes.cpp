#include "core/substitutes.h"

namespace quillmere::host {

Operations& operations() {
  static Operations table;
  return table;
}

}  // namespace quillmere::host
