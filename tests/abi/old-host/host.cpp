// A host of the first release: goes through the C interface and the parameter classes and prints what came out. Its
// program, built once, is kept beside it and must go on running with every later library; this file is not part of any
// build.

#include <NorixEngine/FEAgorithmset.h>
#include <NorixEngine/FEParams.h>
#include <NorixEngine/NorixEngine.h>

extern "C" {
#include <libavutil/frame.h>
}

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

constexpr int kWidth = 61;
constexpr int kHeight = 37;
constexpr int kYuv420p = 0;  // the same in every numbering
constexpr int kRgb24 = 2;

std::uint32_t Hash(const std::vector<std::uint8_t>& bytes) {
  std::uint32_t hash = 2166136261U;
  for (const std::uint8_t byte : bytes) hash = (hash ^ byte) * 16777619U;
  return hash;
}

struct Picture {
  explicit Picture(int format) {
    const std::size_t pixels = std::size_t{kWidth} * kHeight;
    bytes.resize(pixels * 4);
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<std::uint8_t>(i * i / 7 + i / 61);
    frame.width = kWidth;
    frame.height = kHeight;
    frame.format = format;
    frame.data[0] = bytes.data();
    if (format == kYuv420p) {
      frame.linesize[0] = kWidth;
      for (int plane = 1; plane < 3; ++plane) {
        frame.data[plane] = bytes.data() + pixels * static_cast<std::size_t>(plane);
        frame.linesize[plane] = (kWidth + 1) / 2;
      }
    } else {
      frame.linesize[0] = kWidth * (format == kRgb24 ? 3 : 4);
    }
  }

  std::vector<std::uint8_t> bytes;
  AVFrame frame{};
};

void Render(const char* name, FilterParams* params, int format, const char* what) {
  Picture from(format);
  Picture to(format);
  std::srand(5);
  const int answer = filter_video_frame(&to.frame, &from.frame, name, params, 0, 0, kHeight);
  std::printf("%s, %s: %d %08x\n", name, what, answer, static_cast<unsigned>(Hash(to.bytes)));
}

void RenderAll(int bgra) {
  for (const char** name = NorixGetInfo(); *name != nullptr; ++name) {
    FilterParams* params = nullptr;
    int size = 0;
    GetParamBuffer(*name, 6100, &params, &size);
    std::printf("%s: %d bytes, name %s, formats %d %d\n", *name, size,
                params != nullptr && params->GetFilterName() != nullptr ? params->GetFilterName() : "none",
                filter_check_format(*name, kYuv420p), filter_check_format(*name, kRgb24) == bgra ? 1 : 0);
    filter_check_format(*name, bgra);
    Render(*name, params, kYuv420p, "planar");
    Render(*name, params, bgra, "packed");
    ReleaseParamBuffer(params);
  }
}

// Objects of the host's own making, their fields set in place and copied by way of their table of virtual functions.
void RenderWithClasses(int bgra) {
  auto* const swirl = new SwirlParams;
  swirl->centerX = 0.25;
  swirl->angle = 90.0;
  FilterParams* const copy = swirl->Clone();
  Render("Swirl", copy, bgra, "a copy");
  copy->AddRef();
  std::printf("references %d", copy->Release());
  std::printf(" %d\n", copy->Release());
  delete static_cast<FilterParams*>(swirl);

  auto* const ripple = new RippleParams;
  ripple->amplitude = 30.0;
  ripple->damping = 85.0;
  ripple->phase = 12.0;
  Render("Ripple", ripple, bgra, "own tables");
  std::printf("tables of %d and %d\n", static_cast<int>(ripple->tables->offsetCount),
              static_cast<int>(ripple->tables->weightCount));
  delete static_cast<FilterParams*>(ripple);

  auto* const focus = new FocusColorParams;
  focus->feather = -1.0;
  Render("Focus Color", focus, bgra, "a negative feather");
  std::printf("feather %g\n", focus->feather);
  ReleaseParamBuffer(focus);
}

void ListGroup(const char* name) {
  FilterGroupParam* group = nullptr;
  for (const int time : {0, 3700, 10000}) {
    GetFilterGroupParam(name, time, &group);
    std::printf("%s at %d: %d", group->name, time, group->count);
    for (int i = 0; i < group->count; ++i) {
      const FilterGroupEntry& entry = group->entries[i];
      std::printf("; %s %d %d %d %d %.6f", entry.name != nullptr ? entry.name : "-", entry.size,
                  static_cast<int>(entry.scaleX), static_cast<int>(entry.scaleY), static_cast<int>(entry.extraPercent),
                  static_cast<double>(entry.progress));
    }
    std::printf("\n");
  }
  ReleaseFilterGroupParam(group);
}

void CallHelpers() {
  FEAgorithmSet::POINTF out{};
  FEAgorithmSet::RipplePos(out, {30.0F, 40.0F}, {5.0F, 6.0F}, 100.0F, 20.0F, 0.5F, 1.0F);
  std::printf("ripple position %.2f %.2f\n", static_cast<double>(out.x), static_cast<double>(out.y));
  std::vector<std::uint8_t> from(64, 9);
  std::vector<std::uint8_t> to(64, 0);
  FEAgorithmSet::CopyAlphaData(to.data() + 3, from.data() + 3, 3, 4, 4, 4, 4);
  std::printf("alpha %08x\n", static_cast<unsigned>(Hash(to)));
}

}  // namespace

int main() {
  const int bgra = filter_check_format("Swirl", -1);
  RenderAll(bgra);
  RenderWithClasses(bgra);
  for (const char* name : {"Mirror Scale Blur", "Flip Roll Up", "Blurry Cross Right Up", "Tile Zoom Blur 1"})
    ListGroup(name);
  CallHelpers();
  return 0;
}
