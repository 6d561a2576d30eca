#include "fuzz/Allocations.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace norix::test {

namespace {

bool inEngine = false;
long live = 0;
int untilFailure = 0;
int failuresLeft = 0;

bool Fails() {
  if (untilFailure > 0 && --untilFailure > 0) return false;
  if (failuresLeft == 0) return false;
  --failuresLeft;
  return true;
}

void* Allocate(std::size_t size, std::size_t alignment) {
  if (inEngine && Fails()) throw std::bad_alloc();
  // The size of an aligned block is a whole number of alignments; nothing at all has an address of its own.
  const std::size_t rounded = (size / alignment + 1) * alignment;
  void* const block =
      alignment <= alignof(std::max_align_t) ? std::malloc(size == 0 ? 1 : size) : std::aligned_alloc(alignment, rounded);
  if (block == nullptr) throw std::bad_alloc();
  if (inEngine) ++live;
  return block;
}

void* AllocateOrNull(std::size_t size, std::size_t alignment) noexcept {
  try {
    return Allocate(size, alignment);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

void GiveBack(void* block) {
  if (inEngine && block != nullptr) --live;
  std::free(block);
}

}  // namespace

EngineCall::EngineCall() { inEngine = true; }

EngineCall::~EngineCall() { inEngine = false; }

void FailAllocation(int number, int more) {
  untilFailure = number;
  failuresLeft = number > 0 ? 1 + more : 0;
}

long LiveAllocations() { return live; }

}  // namespace norix::test

using norix::test::Allocate;
using norix::test::AllocateOrNull;
using norix::test::GiveBack;

void* operator new(std::size_t size) { return Allocate(size, 1); }
void* operator new[](std::size_t size) { return Allocate(size, 1); }
void* operator new(std::size_t size, std::align_val_t alignment) {
  return Allocate(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
  return Allocate(size, static_cast<std::size_t>(alignment));
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return AllocateOrNull(size, 1); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return AllocateOrNull(size, 1); }
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
  return AllocateOrNull(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
  return AllocateOrNull(size, static_cast<std::size_t>(alignment));
}
void operator delete(void* block) noexcept { GiveBack(block); }
void operator delete[](void* block) noexcept { GiveBack(block); }
void operator delete(void* block, std::size_t) noexcept { GiveBack(block); }
void operator delete[](void* block, std::size_t) noexcept { GiveBack(block); }
void operator delete(void* block, std::align_val_t) noexcept { GiveBack(block); }
void operator delete[](void* block, std::align_val_t) noexcept { GiveBack(block); }
void operator delete(void* block, std::size_t, std::align_val_t) noexcept { GiveBack(block); }
void operator delete[](void* block, std::size_t, std::align_val_t) noexcept { GiveBack(block); }
