#include "support/GuardedPicture.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <new>

namespace norix::test {

namespace {

std::size_t PageSize() { return static_cast<std::size_t>(sysconf(_SC_PAGESIZE)); }

}  // namespace

GuardedPicture::GuardedPicture(const Picture& picture, Guard guard) {
  const std::size_t page = PageSize();
  frame_.format = picture.Shape().format;
  frame_.width = picture.Shape().width;
  frame_.height = picture.Shape().height;
  for (int plane = 0; plane < picture.PlaneCount(); ++plane) {
    const auto rowBytes = static_cast<std::size_t>(picture.RowBytes(plane));
    const std::size_t bytes = rowBytes * static_cast<std::size_t>(picture.Rows(plane));
    const std::size_t inner = (bytes + page - 1) / page * page;
    Mapping& mapping = mappings_[static_cast<std::size_t>(plane)];
    mapping.bytes = inner + 2 * page;
    void* const memory = mmap(nullptr, mapping.bytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) throw std::bad_alloc();
    mapping.memory = static_cast<std::uint8_t*>(memory);
    if (mprotect(mapping.memory + page, inner, PROT_READ | PROT_WRITE) != 0) throw std::bad_alloc();
    std::uint8_t* const begin = mapping.memory + page + (guard == Guard::kBehind ? inner - bytes : 0);
    const bool bottomUp = picture.Shape().bottomUp[static_cast<std::size_t>(plane)];
    frame_.data[plane] = bottomUp ? begin + bytes - rowBytes : begin;
    frame_.linesize[plane] = bottomUp ? -picture.RowBytes(plane) : picture.RowBytes(plane);
    for (int row = 0; row < picture.Rows(plane); ++row) {
      const std::uint8_t* const from =
          picture.Frame()->data[plane] + static_cast<std::ptrdiff_t>(row) * picture.Frame()->linesize[plane];
      std::memcpy(frame_.data[plane] + static_cast<std::ptrdiff_t>(row) * frame_.linesize[plane], from, rowBytes);
    }
  }
}

GuardedPicture::~GuardedPicture() {
  for (const Mapping& mapping : mappings_)
    if (mapping.memory != nullptr) munmap(mapping.memory, mapping.bytes);
}

void GuardedPicture::Protect() {
  const std::size_t page = PageSize();
  for (const Mapping& mapping : mappings_)
    if (mapping.memory != nullptr) mprotect(mapping.memory + page, mapping.bytes - 2 * page, PROT_READ);
}

bool GuardedPicture::ShowsTheSameAs(const Picture& picture) const {
  for (int plane = 0; plane < picture.PlaneCount(); ++plane) {
    const auto rowBytes = static_cast<std::size_t>(picture.RowBytes(plane));
    for (int row = 0; row < picture.Rows(plane); ++row) {
      const std::uint8_t* const expected =
          picture.Frame()->data[plane] + static_cast<std::ptrdiff_t>(row) * picture.Frame()->linesize[plane];
      if (std::memcmp(frame_.data[plane] + static_cast<std::ptrdiff_t>(row) * frame_.linesize[plane], expected, rowBytes) !=
          0)
        return false;
    }
  }
  return true;
}

}  // namespace norix::test
