#pragma once

#include "c4d.h"

namespace quillmere {

enum class BusyIndicator { Off, On };

// A progress that leaves the host's bar as it is.
constexpr double kKeepBar = -1.0;

// How a stage of a render reports: stores `text` as the node's status and, where the call carries a render's volume
// data, shows it in the host's status bar. `progress` goes from 0 to 1; a negative one or none at all leaves the bar as
// it is. `vps` and `settings` may be null.
void UpdateRenderStatus(cinema::VideoPostStruct* vps, cinema::BaseContainer* settings, const cinema::String& text,
                        BusyIndicator busy, double progress);

}  // namespace quillmere
