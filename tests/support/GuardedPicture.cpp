#include "support/GuardedPicture.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <new>

namespace norix::test {

namespace {

std::size_t PageSize() { return static_cast<std::size_t>(sysconf(_SC_PAGESIZE)); }

std::uint8_t* RowOf(const AVFrame& frame, int plane, int row) {
  return frame.data[plane] + static_cast<std::ptrdiff_t>(row) * frame.linesize[plane];
}

}  // namespace

int GuardedPicture::RowsWithRoom(const Picture& picture, int plane) const {
  return picture.Rows(plane) + (plane == 1 || plane == 2 ? chromaRoom_ : 0);
}

GuardedPicture::GuardedPicture(const Picture& picture, Guard guard, int chromaRoom) : chromaRoom_(chromaRoom) {
  const std::size_t page = PageSize();
  frame_.format = picture.Shape().format;
  frame_.width = picture.Shape().width;
  frame_.height = picture.Shape().height;
  for (int plane = 0; plane < picture.PlaneCount(); ++plane) {
    const int lineSize = picture.Frame()->linesize[plane];
    const auto lineBytes = static_cast<std::size_t>(std::abs(lineSize));
    const int rows = RowsWithRoom(picture, plane);
    const std::size_t bytes = lineBytes * static_cast<std::size_t>(rows);
    const std::size_t inner = (bytes + page - 1) / page * page;
    Mapping& mapping = mappings_[static_cast<std::size_t>(plane)];
    mapping.bytes = inner + 2 * page;
    void* const memory = mmap(nullptr, mapping.bytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) throw std::bad_alloc();
    mapping.memory = static_cast<std::uint8_t*>(memory);
    if (mprotect(mapping.memory + page, inner, PROT_READ | PROT_WRITE) != 0) throw std::bad_alloc();
    std::uint8_t* const begin = mapping.memory + page + (guard == Guard::kBehind ? inner - bytes : 0);
    frame_.data[plane] = lineSize < 0 ? begin + bytes - lineBytes : begin;
    frame_.linesize[plane] = lineSize;
    for (int row = 0; row < rows; ++row)
      std::memcpy(RowOf(frame_, plane, row), RowOf(*picture.Frame(), plane, row), lineBytes);
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

bool GuardedPicture::HoldsTheSameAs(const Picture& picture) const {
  for (int plane = 0; plane < picture.PlaneCount(); ++plane) {
    const auto lineBytes = static_cast<std::size_t>(std::abs(frame_.linesize[plane]));
    for (int row = 0; row < RowsWithRoom(picture, plane); ++row)
      if (std::memcmp(RowOf(frame_, plane, row), RowOf(*picture.Frame(), plane, row), lineBytes) != 0) return false;
  }
  return true;
}

}  // namespace norix::test
