#pragma once

#include "ge_prepass.h"

namespace cinema {

class QM_HOST_API BaseThread {
 public:
  Bool TestBreak();  // true once the user has stopped the render

 private:
  struct Parts;
  explicit BaseThread(Parts* parts);
  BaseThread(const BaseThread&) = delete;
  BaseThread& operator=(const BaseThread&) = delete;
  ~BaseThread();
  Parts* parts_;
  template <class T>
  friend struct HostSide;
};

}  // namespace cinema
