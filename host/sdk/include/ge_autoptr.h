#pragma once

#include "ge_prepass.h"

namespace cinema {

// Owns what T::Alloc made, which may be null, and hands it to T::Free.
template <class T>
class AutoAlloc {
 public:
  AutoAlloc() : owned_(T::Alloc()) {}
  AutoAlloc(AutoAlloc&& other) noexcept : owned_(other.Release()) {}
  AutoAlloc& operator=(AutoAlloc&& other) noexcept {
    T* const adopted = other.Release();  // first, so that nothing is lost when it is this one
    Free();
    owned_ = adopted;
    return *this;
  }
  AutoAlloc(const AutoAlloc&) = delete;
  AutoAlloc& operator=(const AutoAlloc&) = delete;
  ~AutoAlloc() { Free(); }

  operator T*() { return owned_; }
  operator const T*() const { return owned_; }
  operator T&() { return *owned_; }
  T* operator->() { return owned_; }
  const T* operator->() const { return owned_; }

  T* const* operator&() const { return &owned_; }

  T* GetPointer() { return owned_; }
  const T* GetPointer() const { return owned_; }
  void Assign(T* adopted) { owned_ = adopted; }  // what was owned before is not freed: Free or Release it first
  void Free() {
    if (owned_) T::Free(owned_);
    owned_ = nullptr;
  }
  T* Release() {
    T* released = owned_;
    owned_ = nullptr;
    return released;
  }

 private:
  T* owned_;
};

}  // namespace cinema
