#ifndef NORIX_TESTS_UNIT_EFFECTS_MIRRORMOVE_H
#define NORIX_TESTS_UNIT_EFFECTS_MIRRORMOVE_H

#include <NorixEngine/FEParams.h>

#include <limits>
#include <vector>

#include "Render.h"

namespace norix::test {

/** Source columns or rows, in the order in which they are shown. */
using List = std::vector<int>;

inline constexpr double kInfinity = std::numeric_limits<double>::infinity();
inline constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

template <class Params>
Owned<Params> ParamsWith(double offset) {
  Owned<Params> params(new Params);
  params->offset = offset;
  return params;
}

/** `first` to `last`, upwards or downwards. */
inline List Series(int first, int last) {
  List values;
  for (int value = first; value != last; value += first < last ? 1 : -1) values.push_back(value);
  values.push_back(last);
  return values;
}

inline List operator+(List left, const List& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

}  // namespace norix::test

#endif
