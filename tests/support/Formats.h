#ifndef NORIX_TESTS_SUPPORT_FORMATS_H
#define NORIX_TESTS_SUPPORT_FORMATS_H

extern "C" {
#include <libavutil/pixfmt.h>
}

#include <ostream>
#include <span>

namespace norix::test {

#ifdef NORIX_CLASSIC_PIXEL_CODES
inline constexpr int kYuv420p = 0;
inline constexpr int kYuyv422 = 1;
inline constexpr int kRgb24 = 2;
inline constexpr int kBgr24 = 3;
inline constexpr int kArgb = 27;
inline constexpr int kRgba = 28;
inline constexpr int kBgra = 30;
inline constexpr int kYuva420p = 35;
inline constexpr int kRgb0 = 296;
inline constexpr int kBgr0 = 298;
#else
inline constexpr int kYuv420p = AV_PIX_FMT_YUV420P;
inline constexpr int kYuyv422 = AV_PIX_FMT_YUYV422;
inline constexpr int kRgb24 = AV_PIX_FMT_RGB24;
inline constexpr int kBgr24 = AV_PIX_FMT_BGR24;
inline constexpr int kArgb = AV_PIX_FMT_ARGB;
inline constexpr int kRgba = AV_PIX_FMT_RGBA;
inline constexpr int kBgra = AV_PIX_FMT_BGRA;
inline constexpr int kYuva420p = AV_PIX_FMT_YUVA420P;
inline constexpr int kRgb0 = AV_PIX_FMT_RGB0;
inline constexpr int kBgr0 = AV_PIX_FMT_BGR0;
#endif

struct Format {
  const char* name;
  int code;
  int planes;
  int bytesPerPixel; /**< in plane 0 */

  bool IsPlanar() const { return planes > 1; }

  friend void PrintTo(const Format& format, std::ostream* out) { *out << format.name; }
};

/** What hosts may hand in: the rendered ones first, then BGR24 and two that no effect knows. */
std::span<const Format> AllFormats();

/** The seven that effects render. */
std::span<const Format> RenderedFormats();

const Format& FormatOf(int code);

/** Its place in AllFormats(): the same in every numbering of pixel formats. */
int NumberOf(const Format& format);

}  // namespace norix::test

#endif
