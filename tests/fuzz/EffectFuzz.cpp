// Any effect on any picture, band and settings that a host may hand over, against the reference: the bytes of the input say
// which. A disagreement is printed and ends the process.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <limits>
#include <span>

#include "exact/EffectComparison.h"
#include "fuzz/ByteReader.h"
#include "reference/Reference.h"
#include "support/Formats.h"
#include "support/Picture.h"
#include "support/Targets.h"

namespace norix::test {

namespace {

constexpr int kLeast = std::numeric_limits<int>::min();

/** Bounds the work of one input. */
constexpr int kMostPixels = 24000;

/** Mostly small, sometimes hundreds. */
int Length(ByteReader& bytes) {
  const int first = bytes.Byte();
  return first < 0xF0 ? 1 + first % 48 : 1 + bytes.Byte() + (first & 1) * 128;
}

PictureShape ShapeOf(ByteReader& bytes, int format, int width, int height) {
  PictureShape shape{format, width, height, {}, {}};
  for (std::size_t plane = 0; plane < 4; ++plane) {
    const int said = bytes.Byte();
    // Equal lines of U and V are the usual case, which mutations would hardly hit.
    if (plane == 2 && (said & 0x40) == 0) {
      shape.padding[2] = shape.padding[1];
      shape.bottomUp[2] = shape.bottomUp[1];
      continue;
    }
    shape.padding[plane] = said & 0x3F;
    shape.bottomUp[plane] = (said & 0x80) != 0;
  }
  return shape;
}

BandOfRows BandOf(ByteReader& bytes, int height) {
  switch (bytes.Below(6)) {
    case 0:
    case 1:
      return {0, height};
    case 2: {
      const int first = static_cast<int>(bytes.Byte()) % height;
      return {first, height - first};
    }
    case 3: {
      // Without rows the first may be any.
      const int first = bytes.Integer();
      return {first, std::min(bytes.Integer(), 0)};
    }
    default: {
      const int first = static_cast<int>(bytes.Byte()) % height;
      return {first, 1 + static_cast<int>(bytes.Byte()) % (height - first)};
    }
  }
}

double NotableNumber(ByteReader& bytes) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  constexpr double kNumbers[] = {0.0,    1.0,    0.5,          2.0,
                                 100.0,  100.75, 101.0,        25.0,
                                 90.0,   360.0,  1e-5,         9.999999999999999e-6,
                                 1e-300, 1e300,  2147483647.0, 4294967296.0,
                                 1e10,   5e-324, kInfinity,    std::numeric_limits<double>::quiet_NaN()};
  const int said = bytes.Byte();
  const double number = kNumbers[static_cast<std::size_t>(said & 0x7F) % std::size(kNumbers)];
  return (said & 0x80) != 0 ? -number : number;
}

void SetFields(ByteReader& bytes, EffectComparison& comparison) {
  for (std::size_t i = 0; i < comparison.FieldCount(); ++i) {
    switch (bytes.Below(5)) {
      case 0:
        break;
      case 1:
        comparison.SetField(i, NotableNumber(bytes));
        break;
      case 2:
        comparison.SetField(i, bytes.SmallInteger() / 256.0);
        break;
      case 3:
        comparison.SetField(i, bytes.SmallInteger() / 16384.0);
        break;
      default:
        comparison.SetField(i, bytes.Double());
    }
  }
}

/** What the effects are told by the frame's own format, width and height, which the memory behind it does not depend on. */
void SpoilFrame(ByteReader& bytes, AVFrame& frame) {
  constexpr int kLengths[] = {0, -1, kLeast};
  switch (bytes.Below(8)) {
    case 0:
      frame.width = bytes.Pick(kLengths);
      break;
    case 1:
      frame.height = bytes.Pick(kLengths);
      break;
    case 2: {
      const int code = bytes.Integer();
      const auto known = AllFormats();
      // A known code would promise planes and lines of its own.
      if (std::none_of(known.begin(), known.end(), [=](const Format& format) { return format.code == code; }))
        frame.format = code;
      break;
    }
    default:
      break;
  }
}

Picture SourceOf(ByteReader& bytes, const PictureShape& shape, std::uint64_t seed) {
  const int kind = bytes.Byte() % 3;
  Picture picture(shape, seed, kind == 0 ? Content::kNoise : Content::kPatches);
  SpoilFrame(bytes, *picture.Frame());
  const std::span<const std::uint8_t> samples = bytes.Rest();
  if (kind != 2 || samples.empty()) return picture;
  std::size_t next = 0;
  for (int plane = 0; plane < picture.PlaneCount(); ++plane)
    for (int row = 0; row < picture.Rows(plane); ++row)
      for (int column = 0; column < picture.RowBytes(plane); ++column, ++next)
        picture.At(plane, row, column) = samples[next % samples.size()];
  return picture;
}

/** One of the instruction sets, or all. */
std::span<const std::int64_t> TargetsOf(ByteReader& bytes) {
  const std::span<const std::int64_t> all = Targets();
  const std::size_t said = bytes.Byte();
  return said == 0xFF ? all : all.subspan(said % all.size(), 1);
}

void Compare(ByteReader& bytes) {
  const reference::Effect& effect = bytes.Pick(reference::Effects());
  const Format& format = bytes.Pick(AllFormats());
  const std::span<const std::int64_t> targets = TargetsOf(bytes);
  const int width = Length(bytes);
  const int height = std::min(Length(bytes), std::max(1, kMostPixels / width));
  const PictureShape src = ShapeOf(bytes, format.code, width, height);
  const PictureShape dst = ShapeOf(bytes, format.code, width, height);
  const BandOfRows band = BandOf(bytes, height);
  EffectComparison comparison(effect.name);
  const int levels = bytes.Byte();
  if (levels == 0xFF) {
    comparison.DropParams();
  } else {
    comparison.SetLevel((levels & 1) == 0 ? static_cast<int>(bytes.Bytes(2)) % 10001 : bytes.Integer());
    SetFields(bytes, comparison);
  }
  const std::uint64_t seed = bytes.Bytes(2);
  const Picture source = SourceOf(bytes, src, seed);
  const testing::AssertionResult agrees = comparison.Agrees(source, dst, band, seed, targets);
  if (agrees) return;
  const AVFrame& frame = *source.Frame();
  std::cerr << "The engine and the reference disagree on " << agrees.message() << "\nThe frame says format " << frame.format
            << ", " << frame.width << 'x' << frame.height << std::endl;
  std::abort();
}

}  // namespace

}  // namespace norix::test

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  norix::test::ByteReader bytes(data, size);
  norix::test::Compare(bytes);
  return 0;
}
