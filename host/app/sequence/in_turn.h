#pragma once

#include <functional>

#include "process/helper_output.h"
#include "process/orders.h"
#include "sequence.h"
#include "values/failure.h"
#include "worker_messages.h"

namespace quillmere::app {

// Renders one shot in this process, to its end or until `stop`; the report that it tells is not its business.
using RenderShot = std::function<Attempt(const Shot& shot, const std::function<bool()>& stop)>;

// `render`, and meanwhile `report` is told what the helper prints.
RenderShot listening(RenderShot render, HelperOutput& output, Report& report);

// The worker's side: renders what is ordered until no other order comes or `stop` says true, and tells how it ends.
// `writeDirectory` is this process' own.
ExitStatus serve(Orders& orders, const std::filesystem::path& writeDirectory, const RenderShot& render,
                 WorkerReport& report, const std::function<bool()>& stop);

// All shots of the sequence one after the other, in this process; those that are tried again, after their pause.
// `report` is told that each begins and how it ends.
void renderInTurn(Sequence& sequence, const RenderShot& render, Report& report, const std::function<bool()>& stop);

}  // namespace quillmere::app
