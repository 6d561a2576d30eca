#ifndef NORIX_TESTS_SUPPORT_GUARDEDPICTURE_H
#define NORIX_TESTS_SUPPORT_GUARDEDPICTURE_H

#include <array>
#include <cstddef>
#include <cstdint>

#include "support/Picture.h"

namespace norix::test {

/** Where the memory that nobody may touch lies. */
enum class Guard {
  kBehind, /**< every plane ends with the last pixel before an unreadable page */
  kBefore, /**< every plane begins right behind an unreadable page */
};

/** A copy of a picture's planes without padding, each beside an unreadable page: a stray access ends the process. */
class GuardedPicture {
public:
  GuardedPicture(const Picture& picture, Guard guard);
  GuardedPicture(const GuardedPicture&) = delete;
  GuardedPicture& operator=(const GuardedPicture&) = delete;
  ~GuardedPicture();

  AVFrame* Frame() { return &frame_; }

  /** Makes the planes read-only: a write ends the process. */
  void Protect();

  /** Compares all pixels. */
  bool ShowsTheSameAs(const Picture& picture) const;

private:
  struct Mapping {
    std::uint8_t* memory = nullptr;
    std::size_t bytes = 0;
  };

  std::array<Mapping, 4> mappings_{};
  AVFrame frame_{};
};

}  // namespace norix::test

#endif
