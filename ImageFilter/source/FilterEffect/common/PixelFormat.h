#pragma once

#ifndef NORIX_CLASSIC_PIXEL_CODES
extern "C" {
#include <libavutil/pixfmt.h>
}
#endif

namespace norix {

/// The pixel formats that the engine knows, by the codes of the host's libavutil. Any int may arrive here.
enum PixelFormat : int {
#ifdef NORIX_CLASSIC_PIXEL_CODES
  // The numbering of a libavutil whose enumeration still holds the two XvMC entries.
  kYuv420p = 0,
  kRgb24 = 2,
  kBgr24 = 3,
  kRgba = 28,
  kBgra = 30,
  kYuva420p = 35,
  kRgb0 = 296,
  kBgr0 = 298,
#else
  kYuv420p = AV_PIX_FMT_YUV420P,
  kRgb24 = AV_PIX_FMT_RGB24,
  kBgr24 = AV_PIX_FMT_BGR24,
  kRgba = AV_PIX_FMT_RGBA,
  kBgra = AV_PIX_FMT_BGRA,
  kYuva420p = AV_PIX_FMT_YUVA420P,
  kRgb0 = AV_PIX_FMT_RGB0,
  kBgr0 = AV_PIX_FMT_BGR0,
#endif
};

/// How the bytes of a format lie: all that effects ask about a format.
enum class Layout {
  kPacked3,      ///< one plane, 3 bytes a pixel
  kPacked4,      ///< one plane, 4 bytes a pixel, the fourth alpha or padding
  kPlanar,       ///< luma, and two chroma planes of half width and height
  kPlanarAlpha,  ///< the same and a full-size alpha plane
  kUnknown,      ///< anything else: effects leave such frames alone
};

constexpr Layout LayoutOf(int format) {
  switch (format) {
    case kRgb24:
      return Layout::kPacked3;
    case kRgba:
    case kBgra:
    case kRgb0:
    case kBgr0:
      return Layout::kPacked4;
    case kYuv420p:
      return Layout::kPlanar;
    case kYuva420p:
      return Layout::kPlanarAlpha;
    default:
      return Layout::kUnknown;
  }
}

}  // namespace norix
