#pragma once

#include "c4d_baselist.h"

namespace cinema {

// A view of the document. Its settings (dbasedraw.h) are reached with GetParameter and SetParameter only.
class QM_HOST_API BaseDraw : public BaseList2D {
 public:
  // Null while the view looks through its own editor camera.
  BaseObject* GetSceneCamera(BaseDocument* doc) const;
  const BaseObject* GetSceneCamera(const BaseDocument* doc) const;
  void SetSceneCamera(BaseObject* op, Bool animate = false);  // null: the editor camera

 private:
  explicit BaseDraw(Parts* parts);
  ~BaseDraw();
  template <class T>
  friend struct HostSide;
};

}  // namespace cinema
