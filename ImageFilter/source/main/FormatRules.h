#pragma once

#include "FilterEffect/common/Gray.h"
#include "FilterEffect/common/PixelFormat.h"

/// How effects answer a proposed pixel format.
namespace norix {

/// YUV 4:2:0, RGB24 and BGRA as they are, BGRA for everything else.
constexpr int OfferAll(int proposed) {
  return proposed == kYuv420p || proposed == kRgb24 || proposed == kBgra ? proposed : kBgra;
}

/// YUV 4:2:0 as it is, BGRA for everything else.
constexpr int OfferYuvOrBgra(int proposed) { return proposed == kYuv420p ? kYuv420p : kBgra; }

/// Sketch draws on luma; its gray tables serve hosts that pass packed pictures all the same.
inline int OfferSketch(int /*proposed*/) {
  InitRGB2GrayTable();
  return kYuv420p;
}

/// The gray tables are filled only when BGRA is proposed by name, not when it is answered to something else.
inline int OfferFocusColor(int proposed) {
  if (proposed == kBgra) InitRGB2GrayTable();
  return OfferYuvOrBgra(proposed);
}

}  // namespace norix
