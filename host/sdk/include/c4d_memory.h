#pragma once

#include "ge_prepass.h"

namespace cinema {

// Zero-filled memory of the host's allocator, null when there is none left. Freed with FreeMemory, by whichever side.
QM_HOST_API void* AllocateMemoryClear(size_t bytes);
QM_HOST_API void FreeMemory(void* block);

struct PlaceInMemory {};

}  // namespace cinema

inline void* operator new(size_t, void* block, cinema::PlaceInMemory) noexcept {
  return block;
}
inline void operator delete(void*, void*, cinema::PlaceInMemory) noexcept {}

namespace cinema {

template <class T>
struct ClearedObject {
  static T* Make() {
    void* block = AllocateMemoryClear(sizeof(T));
    return block ? ::new (block, PlaceInMemory{}) T() : nullptr;
  }
};

template <class T>
void FreeMemoryOf(T*& block) {
  FreeMemory(const_cast<void*>(static_cast<const void*>(block)));
  block = nullptr;
}

}  // namespace cinema

// A T constructed without arguments in zero-filled memory of the host, or null.
#define NewObjClear(T) ::cinema::ClearedObject<T>::Make()

// DeleteMem(p): frees memory that the API handed out, and sets `p` to null.
#define DeleteMem(p) ::cinema::FreeMemoryOf(p)
