// Memory of which ./dev fuzz lets the sanitizer grant no more than so much at a time. What is beyond fails as on a
// machine that has none, where the sanitizer's own `new` would end the program: files that claim to be huge then cost
// no time, and what follows a failure is tried as well.
#include <cstdlib>
#include <new>

void* operator new(std::size_t size) {
  void* const memory = std::malloc(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
void* operator new(std::size_t size, const std::nothrow_t& /*empty*/) noexcept {
  return std::malloc(size);
}
void* operator new[](std::size_t size) {
  return operator new(size);
}
void* operator new[](std::size_t size, const std::nothrow_t& /*empty*/) noexcept {
  return std::malloc(size);
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete[](void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}
void operator delete[](void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}
