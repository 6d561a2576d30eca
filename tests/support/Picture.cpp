#include "support/Picture.h"

#include <algorithm>
#include <sstream>

#include "support/Random.h"

namespace norix::test {

namespace {

constexpr int kFenceRows = 6;
constexpr std::size_t kLeastFence = 64;

std::size_t Index(int number) { return static_cast<std::size_t>(number); }

void FillWithNoise(std::vector<std::uint8_t>& bytes, Random& random) {
  std::size_t position = 0;
  while (position < bytes.size()) {
    std::uint64_t number = random.Next();
    for (int i = 0; i < 8 && position < bytes.size(); ++i, number >>= 8)
      bytes[position++] = static_cast<std::uint8_t>(number & 0xFF);
  }
}

int PatchValue(Random& random) {
  switch (random.Between(0, 3)) {
    case 0:
      return 0;
    case 1:
      return 255;
    case 2:
      return random.OneIn(2) ? random.Between(14, 18) : random.Between(233, 242);
    default:
      return random.Between(0, 255);
  }
}

}  // namespace

Picture::Picture(const PictureShape& shape, std::uint64_t seed, Content content) : shape_(shape), frame_{} {
  Random random(seed);
  for (int plane = 0; plane < PlaneCount(); ++plane) {
    auto& bytes = planes_[Index(plane)];
    bytes.resize(Index(LineBytes(plane)) * Index(Rows(plane)) + 2 * FenceBytes(plane));
    FillWithNoise(bytes, random);
  }
  PointFrameAtPlanes();
  frame_.width = shape.width;
  frame_.height = shape.height;
  frame_.format = shape.format;
  if (content == Content::kNoise) return;
  for (int plane = 0; plane < PlaneCount(); ++plane) {
    int left = 0;
    int value = 0;
    const int longest = std::max(4, RowBytes(plane) * 2);
    for (int row = 0; row < Rows(plane); ++row)
      for (int column = 0; column < RowBytes(plane); ++column, --left) {
        if (left == 0) {
          left = random.Between(1, longest);
          value = PatchValue(random);
        }
        At(plane, row, column) = static_cast<std::uint8_t>(value);
      }
  }
}

Picture::Picture(const Picture& other) : shape_(other.shape_), planes_(other.planes_), frame_(other.frame_) {
  PointFrameAtPlanes();
}

int Picture::RowBytes(int plane) const {
  if (plane == 1 || plane == 2) return (shape_.width + 1) >> 1;
  return shape_.width * FormatOf(shape_.format).bytesPerPixel;
}

int Picture::Rows(int plane) const { return plane == 1 || plane == 2 ? (shape_.height + 1) >> 1 : shape_.height; }

std::size_t Picture::FenceBytes(int plane) const { return Index(LineBytes(plane)) * kFenceRows + kLeastFence; }

void Picture::PointFrameAtPlanes() {
  for (int plane = 0; plane < PlaneCount(); ++plane) {
    std::uint8_t* const lowest = planes_[Index(plane)].data() + FenceBytes(plane);
    const bool bottomUp = shape_.bottomUp[Index(plane)];
    frame_.data[plane] = bottomUp ? lowest + Index(Rows(plane) - 1) * Index(LineBytes(plane)) : lowest;
    frame_.linesize[plane] = bottomUp ? -LineBytes(plane) : LineBytes(plane);
  }
}

std::uint8_t& Picture::At(int plane, int row, int column) {
  return frame_.data[plane][static_cast<std::ptrdiff_t>(row) * frame_.linesize[plane] + column];
}

std::uint8_t Picture::At(int plane, int row, int column) const {
  return frame_.data[plane][static_cast<std::ptrdiff_t>(row) * frame_.linesize[plane] + column];
}

void Picture::Fill(int plane, int value) {
  for (int row = 0; row < Rows(plane); ++row)
    for (int column = 0; column < RowBytes(plane); ++column) At(plane, row, column) = static_cast<std::uint8_t>(value);
}

std::vector<int> Picture::Row(int plane, int row) const {
  std::vector<int> values;
  values.reserve(static_cast<std::size_t>(RowBytes(plane)));
  for (int column = 0; column < RowBytes(plane); ++column) values.push_back(At(plane, row, column));
  return values;
}

void Picture::SetRow(int plane, int row, const std::vector<int>& values) {
  for (std::size_t column = 0; column < values.size(); ++column)
    At(plane, row, static_cast<int>(column)) = static_cast<std::uint8_t>(values[column]);
}

std::string Picture::Locate(int plane, std::size_t position) const {
  std::ostringstream text;
  text << "plane " << plane << ", ";
  const std::size_t fence = FenceBytes(plane);
  const std::size_t line = Index(LineBytes(plane));
  const std::size_t planeBytes = line * Index(Rows(plane));
  if (position < fence) {
    text << fence - position << " bytes before the plane";
  } else if (position >= fence + planeBytes) {
    text << position - fence - planeBytes << " bytes behind the plane";
  } else {
    const std::size_t inPlane = position - fence;
    const std::size_t lineNumber = inPlane / line;
    const std::size_t row = shape_.bottomUp[Index(plane)] ? Index(Rows(plane)) - 1 - lineNumber : lineNumber;
    text << "row " << row << ", byte column " << inPlane % line;
    if (inPlane % line >= Index(RowBytes(plane))) text << " (padding)";
  }
  return text.str();
}

testing::AssertionResult SameBytes(const Picture& expected, const Picture& actual) {
  for (int plane = 0; plane < expected.PlaneCount(); ++plane) {
    const auto& wanted = expected.planes_[Index(plane)];
    const auto& got = actual.planes_[Index(plane)];
    if (wanted.size() != got.size()) return testing::AssertionFailure() << "pictures of different shapes compared";
    if (wanted == got) continue;
    const auto [at, other] = std::mismatch(wanted.begin(), wanted.end(), got.begin());
    std::size_t count = 0;
    for (std::size_t i = 0; i < wanted.size(); ++i) count += wanted[i] != got[i] ? 1U : 0U;
    return testing::AssertionFailure() << expected.Locate(plane, static_cast<std::size_t>(at - wanted.begin()))
                                       << ": expected " << int{*at} << ", got " << int{*other} << "; " << count
                                       << " bytes of this plane differ";
  }
  return testing::AssertionSuccess();
}

}  // namespace norix::test
