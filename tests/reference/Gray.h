#ifndef NORIX_TESTS_REFERENCE_GRAY_H
#define NORIX_TESTS_REFERENCE_GRAY_H

namespace norix::reference {

/** Each share is truncated by itself: white is 254. */
inline int GrayOf(int red, int green, int blue) {
  return ((red * 306) >> 10) + ((green * 601) >> 10) + ((blue * 117) >> 10);
}

}  // namespace norix::reference

#endif
