#pragma once

#include <functional>
#include <utility>

#include "c4d.h"

// The seams of the stand-alone host: like the application, which reaches its own operations through function tables,
// the host keeps the operations that can fail in one table, and a program may put others into it for a while.
namespace quillmere::host {

// What stands behind the API functions named at the right. None may throw. References are never null; pointers may be.
struct Operations {
  std::function<cinema::BaseBitmap*()> makeBitmap;  // BaseBitmap::Alloc
  std::function<cinema::IMAGERESULT(cinema::BaseBitmap&, cinema::Int32 width, cinema::Int32 height,
                                    cinema::Int32 depth)>
      initBitmap;  // BaseBitmap::Init, by size
  std::function<cinema::IMAGERESULT(cinema::BaseBitmap&, const cinema::Filename&)> loadBitmap;  // …, from a file
  std::function<cinema::IMAGERESULT(const cinema::BaseBitmap&, const cinema::Filename&, cinema::Int32 format,
                                    cinema::SAVEBIT)>
      saveBitmap;                                                               // BaseBitmap::Save
  std::function<cinema::RenderData*(cinema::BaseDocument&)> activeRenderData;   // BaseDocument::GetActiveRenderData
  std::function<cinema::BaseDraw*(cinema::BaseDocument&)> renderView;           // BaseDocument::GetRenderBaseDraw
  std::function<cinema::BaseDraw*(cinema::BaseDocument&)> activeView;           // BaseDocument::GetActiveBaseDraw
  std::function<bool(cinema::BaseDocument&, cinema::BaseObject*)> lookThrough;  // BaseDocument::SetSceneCamera
  std::function<cinema::RENDERRESULT(cinema::BaseDocument&, const cinema::BaseContainer&, cinema::BaseBitmap*,
                                     cinema::RENDERFLAGS, cinema::BaseThread*)>
      renderDocument;  // RenderDocument
  std::function<bool(cinema::Description&, const cinema::DescID&, const cinema::BaseContainer&,
                     const cinema::DescID& group)>
      describeParameter;  // Description::SetParameter
};

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
