#ifndef NORIX_TESTS_SUPPORT_GUARDEDPICTURE_H
#define NORIX_TESTS_SUPPORT_GUARDEDPICTURE_H

#include <array>
#include <cstddef>
#include <cstdint>

#include "support/Picture.h"

namespace norix::test {

/** Where the memory that nobody may touch lies. */
enum class Guard {
  kBehind, /**< every plane ends right before an unreadable page */
  kBefore, /**< every plane begins right behind an unreadable page */
};

/**
 * A copy of a picture's planes, padding included, each beside an unreadable page: a stray access ends the process. Without
 * padding a plane ends with its last pixel.
 */
class GuardedPicture {
public:
  /** U and V may have room for rows behind their last one. */
  GuardedPicture(const Picture& picture, Guard guard, int chromaRoom = 0);
  GuardedPicture(const GuardedPicture&) = delete;
  GuardedPicture& operator=(const GuardedPicture&) = delete;
  ~GuardedPicture();

  AVFrame* Frame() { return &frame_; }

  /** Makes the planes read-only: a write ends the process. */
  void Protect();

  /** Compares all bytes: pixels, padding and the room behind U and V. */
  bool HoldsTheSameAs(const Picture& picture) const;

private:
  struct Mapping {
    std::uint8_t* memory = nullptr;
    std::size_t bytes = 0;
  };

  int RowsWithRoom(const Picture& picture, int plane) const;

  int chromaRoom_;
  std::array<Mapping, 4> mappings_{};
  AVFrame frame_{};
};

}  // namespace norix::test

#endif
