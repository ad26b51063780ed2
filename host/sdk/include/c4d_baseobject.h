#pragma once

#include "c4d_baselist.h"

namespace cinema {

// Something placed in the scene, for example a camera (Ocamera).
class QM_HOST_API BaseObject : public BaseList2D {
 private:
  explicit BaseObject(Parts* parts);
  ~BaseObject();
  template <class T>
  friend struct HostSide;
};

}  // namespace cinema
