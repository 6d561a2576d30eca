#include "support/Formats.h"

#include <stdexcept>

namespace norix::test {

namespace {

constexpr Format kFormats[] = {
    {"YUV420P", kYuv420p, 3, 1}, {"YUVA420P", kYuva420p, 4, 1}, {"RGB24", kRgb24, 1, 3}, {"BGRA", kBgra, 1, 4},
    {"RGBA", kRgba, 1, 4},       {"RGB0", kRgb0, 1, 4},         {"BGR0", kBgr0, 1, 4},   {"BGR24", kBgr24, 1, 3},
    {"YUYV422", kYuyv422, 1, 2}, {"ARGB", kArgb, 1, 4},
};

}  // namespace

std::span<const Format> AllFormats() { return kFormats; }

std::span<const Format> RenderedFormats() { return AllFormats().first(7); }

const Format& FormatOf(int code) {
  for (const Format& format : kFormats)
    if (format.code == code) return format;
  throw std::invalid_argument("no test pictures of this format");
}

int NumberOf(const Format& format) { return static_cast<int>(&FormatOf(format.code) - kFormats); }

}  // namespace norix::test
