#pragma once

#include <functional>
#include <utility>

#include "c4d.h"

// The seams of the stand-alone host: like the application, which reaches its own operations through function tables,
// the host keeps the operations that can fail in one table, and a program may put others into it for a while.
namespace cinema {

// What stands behind the API functions named above each. None may throw. References are never null; pointers may be.
struct Operations {
  // BaseBitmap: Alloc, Init by size and from a file, Save
  std::function<BaseBitmap*()> makeBitmap;
  std::function<IMAGERESULT(BaseBitmap&, Int32 width, Int32 height, Int32 depth)> initBitmap;
  std::function<IMAGERESULT(BaseBitmap&, const Filename&)> loadBitmap;
  std::function<IMAGERESULT(const BaseBitmap&, const Filename&, Int32 format, SAVEBIT)> saveBitmap;
  // BaseDocument: GetActiveRenderData, GetRenderBaseDraw, GetActiveBaseDraw, SetSceneCamera
  std::function<RenderData*(BaseDocument&)> activeRenderData;
  std::function<BaseDraw*(BaseDocument&)> renderView;
  std::function<BaseDraw*(BaseDocument&)> activeView;
  std::function<bool(BaseDocument&, BaseObject*)> lookThrough;
  // RenderDocument
  std::function<RENDERRESULT(BaseDocument&, const BaseContainer&, BaseBitmap*, RENDERFLAGS, BaseThread*)>
      renderDocument;
  // Description::SetParameter
  std::function<bool(Description&, const DescID&, const BaseContainer&, const DescID& group)> describeParameter;
};

}  // namespace cinema

namespace quillmere::host {

using cinema::Operations;

// The table of this process; what implements an operation has put it in when the host's library is loaded. Not for use
// while another thread is inside the host.
QM_HOST_API Operations& operations();

// Puts `replacement` into one slot of operations(), or of a table the API shows (C4DOS_Br->GetViewPortBitmap, which may
// be null), and the former operation back when it ends. Guards of the same slot must end in reverse order. A
// replacement that only watches takes a copy of the slot first and passes the call on to it.
template <class Operation>
class Substitute {
 public:
  template <class Replacement>
  Substitute(Operation& slot, Replacement&& replacement) : slot_(slot), former_(slot) {
    slot_ = std::forward<Replacement>(replacement);
  }
  ~Substitute() { slot_ = std::move(former_); }
  Substitute(const Substitute&) = delete;
  Substitute& operator=(const Substitute&) = delete;

 private:
  Operation& slot_;
  Operation former_;
};

}  // namespace quillmere::host
