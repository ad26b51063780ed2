#include "render_status.h"

#include "../res/description/vpquillmere.h"

namespace quillmere {

using namespace cinema;

void UpdateRenderStatus(VideoPostStruct* vps, BaseContainer* settings, const String& text, BusyIndicator busy,
                        double progress) {
  if (settings) settings->SetString(QUILLMERE_STATUS, text);
  if (!vps || !vps->vd) return;
  vps->vd->StatusSetText(text);
  vps->vd->StatusSetSpinMode(busy == BusyIndicator::On);
  if (progress >= 0.0) vps->vd->StatusSetBar(progress);
}

}  // namespace quillmere
