// OpenCV's calls. What a class makes in its constructor is ready before the clock starts; its buffers are reused. Maps and
// masks have the curves of the effects at the level that their own benchmark has: plain loops in floats, which OpenCV
// leaves to its user.

#include <algorithm>
#include <cmath>
#include <functional>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "Peer.h"
#include "Runs.h"

namespace norix::peers {

namespace {

using cv::Mat;
using cv::Point2f;
using cv::Size;

/// One plane, or luma and two planes of chroma.
using Picture = std::vector<Mat>;

using Work = std::function<void(const Picture& in, Picture& out)>;

struct Call {
  Description description;
  Work (*prepare)(const Picture& in);
};

template <class Class>
Work Make(const Picture& in) {
  return Class(in);
}

template <void (*kFunction)(const Picture& in, Picture& out)>
Work Plain(const Picture& /*in*/) {
  return kFunction;
}

/// Luma's size and chroma's; a packed picture has the first alone.
std::vector<Size> Sizes(const Picture& in) {
  std::vector<Size> sizes = {in[0].size()};
  if (in.size() > 1) sizes.push_back(in[1].size());
  return sizes;
}

// --- Swirl, Pinch, Bulge, Ripple, Ground Glass

/// Where a pixel comes from: from the middle, in shares of width and height.
using Source = Point2f (*)(Point2f place, Size size);

Point2f Swirled(Point2f p, Size /*size*/) {
  const float rest = 1 - std::sqrt(p.x * p.x + p.y * p.y);
  const float turn = -4 * rest * rest;
  const float c = std::cos(turn);
  const float s = std::sin(turn);
  return {p.x * c - p.y * s, p.x * s + p.y * c};
}

Point2f Pinched(Point2f p, Size /*size*/) { return p * (1.5F - std::sqrt(p.x * p.x + p.y * p.y)); }

Point2f Bulged(Point2f p, Size /*size*/) {
  const float d = std::sqrt(p.x * p.x + p.y * p.y);
  if (d >= 0.5F) return p;
  const float k = 0.5F + d;
  return p * (k * k);
}

Point2f Rippled(Point2f p, Size size) {
  const auto width = static_cast<float>(size.width);
  const auto height = static_cast<float>(size.height);
  const float step = 1024 / std::max(width, height);
  const float r = step * std::sqrt(p.x * p.x * width * width + p.y * p.y * height * height);
  if (r < 1) return p;
  return p * (1 + 20.48F * (1 / r - 1.0F / 1024) * std::sin(r * 0.0674951F));
}

/// Fills a map of whole source places.
template <Source kSource>
void Fill(Mat& map) {
  const Size size = map.size();
  const auto width = static_cast<float>(size.width);
  const auto height = static_cast<float>(size.height);
  constexpr float kSlack = 1e-3F;  // a pixel that stays must not fall short of its own place
  for (int y = 0; y < size.height; ++y) {
    auto* place = map.ptr<cv::Vec2s>(y);
    const float dy = static_cast<float>(y) / height - 0.5F;
    for (int x = 0; x < size.width; ++x) {
      const Point2f from = kSource({static_cast<float>(x) / width - 0.5F, dy}, size);
      const auto column = static_cast<int>((from.x + 0.5F) * width + kSlack);
      const auto row = static_cast<int>((from.y + 0.5F) * height + kSlack);
      place[x] = cv::Vec2s(static_cast<short>(std::clamp(column, 0, size.width - 1)),
                           static_cast<short>(std::clamp(row, 0, size.height - 1)));
    }
  }
}

class Maps {
public:
  explicit Maps(const Picture& in) {
    for (const Size size : Sizes(in)) maps_.emplace_back(size, CV_16SC2);
  }

  std::vector<Mat>& maps() { return maps_; }

  void remap(const Picture& in, Picture& out) const {
    for (std::size_t p = 0; p < in.size(); ++p) {
      cv::remap(in[p], out[p], maps_[p == 0 ? 0 : 1], cv::noArray(), cv::INTER_NEAREST, cv::BORDER_REFLECT);
    }
  }

private:
  std::vector<Mat> maps_;
};

template <Source kSource>
class ReadyWarp {
public:
  explicit ReadyWarp(const Picture& in) : maps_(in) {
    for (Mat& map : maps_.maps()) Fill<kSource>(map);
  }
  void operator()(const Picture& in, Picture& out) { maps_.remap(in, out); }

private:
  Maps maps_;
};

template <Source kSource>
class FreshWarp {
public:
  explicit FreshWarp(const Picture& in) : maps_(in) {}
  void operator()(const Picture& in, Picture& out) {
    for (Mat& map : maps_.maps()) Fill<kSource>(map);
    maps_.remap(in, out);
  }

private:
  Maps maps_;
};

/// Swirl by OpenCV's own functions for polar coordinates.
class PolarSwirl {
public:
  explicit PolarSwirl(const Picture& in) {
    for (const Size size : Sizes(in)) {
      Mat dx(size, CV_32F);
      Mat dy(size, CV_32F);
      for (int y = 0; y < size.height; ++y) {
        for (int x = 0; x < size.width; ++x) {
          dx.at<float>(y, x) = static_cast<float>(x) / static_cast<float>(size.width) - 0.5F;
          dy.at<float>(y, x) = static_cast<float>(y) / static_cast<float>(size.height) - 0.5F;
        }
      }
      dx_.push_back(dx);
      dy_.push_back(dy);
    }
    map_.resize(dx_.size());
  }

  void operator()(const Picture& in, Picture& out) {
    for (std::size_t i = 0; i < map_.size(); ++i) turn(i);
    for (std::size_t p = 0; p < in.size(); ++p) {
      cv::remap(in[p], out[p], map_[p == 0 ? 0 : 1], cv::noArray(), cv::INTER_NEAREST, cv::BORDER_REPLICATE);
    }
  }

private:
  void turn(std::size_t i) {
    cv::cartToPolar(dx_[i], dy_[i], distance_, angle_);
    distance_.convertTo(turn_, CV_32F, -1, 1);
    cv::multiply(turn_, turn_, turn_, -4);
    cv::add(angle_, turn_, angle_);
    cv::polarToCart(distance_, angle_, x_, y_);
    // Half a pixel less, since convertMaps rounds and the effect cuts off.
    const Size size = dx_[i].size();
    x_.convertTo(x_, CV_32F, size.width, size.width / 2.0 - 0.5);
    y_.convertTo(y_, CV_32F, size.height, size.height / 2.0 - 0.5);
    cv::convertMaps(x_, y_, map_[i], unused_, CV_16SC2, true);
  }

  std::vector<Mat> dx_;
  std::vector<Mat> dy_;
  std::vector<Mat> map_;
  Mat distance_, angle_, turn_, x_, y_, unused_;
};

/// Ground Glass: every place moved by up to ten pixels, chroma by five.
class Glass {
public:
  explicit Glass(const Picture& in) : maps_(in) {
    for (const Size size : Sizes(in)) {
      Mat places(size, CV_16SC2);
      for (int y = 0; y < size.height; ++y) {
        for (int x = 0; x < size.width; ++x)
          places.at<cv::Vec2s>(y, x) = cv::Vec2s(static_cast<short>(x), static_cast<short>(y));
      }
      places_.push_back(places);
    }
    draw();
  }

protected:
  void draw() {
    for (std::size_t i = 0; i < places_.size(); ++i) {
      const int amount = i == 0 ? 10 : 5;
      noise_.create(places_[i].size(), CV_16SC2);
      random_.fill(noise_, cv::RNG::UNIFORM, -amount, amount + 1);
      cv::add(places_[i], noise_, maps_.maps()[i]);
    }
  }

  Maps maps_;

private:
  std::vector<Mat> places_;
  Mat noise_;
  cv::RNG random_{1};
};

class ReadyGlass : Glass {
public:
  using Glass::Glass;
  void operator()(const Picture& in, Picture& out) { maps_.remap(in, out); }
};

class FreshGlass : Glass {
public:
  using Glass::Glass;
  void operator()(const Picture& in, Picture& out) {
    draw();
    maps_.remap(in, out);
  }
};

// --- Vignette and Focus Color

/// What Vignette leaves of a pixel, 0 to 255.
void FillVignette(Mat& mask, bool squared) {
  constexpr float kInner = 0.2F;
  constexpr float kOuter = 0.9F;
  for (int y = 0; y < mask.rows; ++y) {
    auto* value = mask.ptr<uchar>(y);
    const float dy = static_cast<float>(y) / static_cast<float>(mask.rows) - 0.5F;
    for (int x = 0; x < mask.cols; ++x) {
      const float dx = static_cast<float>(x) / static_cast<float>(mask.cols) - 0.5F;
      const float e = std::clamp((std::sqrt(dx * dx + dy * dy) - kInner) / (kOuter - kInner), 0.0F, 1.0F);
      value[x] = static_cast<uchar>((squared ? 1 - e * e : 1 - e) * 255 + 0.5F);
    }
  }
}

class Vignette {
public:
  explicit Vignette(const Picture& in) : channels_(in[0].channels()), mask_(in[0].size(), CV_8U) {
    parts_.assign(static_cast<std::size_t>(channels_), mask_);
    if (channels_ == 4) parts_[3] = Mat(mask_.size(), CV_8U, cv::Scalar(255));
    prepare();
  }

protected:
  void prepare() {
    FillVignette(mask_, channels_ == 4);
    cv::merge(parts_, merged_);
  }
  void shade(const Mat& in, Mat& out) const { cv::multiply(in, merged_, out, 1 / 255.0); }
  const Mat& mask() const { return mask_; }

private:
  int channels_;
  Mat mask_;
  Mat merged_;
  std::vector<Mat> parts_;
};

class ReadyVignette : Vignette {
public:
  using Vignette::Vignette;
  void operator()(const Picture& in, Picture& out) const { shade(in[0], out[0]); }
};

class FreshVignette : Vignette {
public:
  using Vignette::Vignette;
  void operator()(const Picture& in, Picture& out) {
    prepare();
    shade(in[0], out[0]);
  }
};

/// Draws chroma towards 128 where the mask is dark.
class ChromaFade {
public:
  void prepare(const Mat& mask) {
    mask_ = mask;
    mask_.convertTo(gray_, CV_8U, -128 / 255.0, 128);
  }
  void apply(const Picture& in, Picture& out) const {
    for (std::size_t p = 1; p < in.size(); ++p) {
      cv::multiply(in[p], mask_, out[p], 1 / 255.0);
      cv::add(out[p], gray_, out[p]);
    }
  }

private:
  Mat mask_;
  Mat gray_;
};

class ReadyVignettePlanes : Vignette {
public:
  explicit ReadyVignettePlanes(const Picture& in) : Vignette(in) {
    Mat small;
    cv::resize(mask(), small, in[1].size());
    chroma_.prepare(small);
  }
  void operator()(const Picture& in, Picture& out) const {
    shade(in[0], out[0]);
    chroma_.apply(in, out);
  }

private:
  ChromaFade chroma_;
};

/// How much of a pixel's colour stays, 0 to 1 times `scale`: all within a quarter of half the diagonal, nothing beyond
/// three quarters.
template <class T>
void FillFocus(Mat& mask, float scale) {
  const auto width = static_cast<float>(mask.cols);
  const auto height = static_cast<float>(mask.rows);
  const float half = std::sqrt(width * width + height * height) / 2;
  for (int y = 0; y < mask.rows; ++y) {
    auto* value = mask.ptr<T>(y);
    const float dy = static_cast<float>(y) - height / 2;
    for (int x = 0; x < mask.cols; ++x) {
      const float dx = static_cast<float>(x) - width / 2;
      const float kept = (0.75F - std::sqrt(dx * dx + dy * dy) / half) / 0.5F;
      value[x] = static_cast<T>(std::clamp(kept, 0.0F, 1.0F) * scale);
    }
  }
}

Mat FocusMask(Size size) {
  Mat mask(size, CV_8U);
  FillFocus<uchar>(mask, 255);
  return mask;
}

/// The picture in gray, with as many channels.
class Gray {
public:
  void operator()(const Mat& in, Mat& out) {
    const bool four = in.channels() == 4;
    cv::cvtColor(in, gray_, four ? cv::COLOR_BGRA2GRAY : cv::COLOR_RGB2GRAY);
    cv::cvtColor(gray_, out, four ? cv::COLOR_GRAY2BGRA : cv::COLOR_GRAY2RGB);
  }

private:
  Mat gray_;
};

class HardFocus {
public:
  explicit HardFocus(const Picture& in) : mask_(FocusMask(in[0].size())) {}
  void operator()(const Picture& in, Picture& out) {
    gray_(in[0], out[0]);
    in[0].copyTo(out[0], mask_);
  }

private:
  Mat mask_;
  Gray gray_;
};

class SoftFocus {
public:
  explicit SoftFocus(const Picture& in) {
    const Mat mask = FocusMask(in[0].size());
    cv::merge(std::vector<Mat>(static_cast<std::size_t>(in[0].channels()), mask), colour_);
    cv::bitwise_not(colour_, rest_);
  }
  void operator()(const Picture& in, Picture& out) {
    gray_(in[0], fade_);
    cv::multiply(in[0], colour_, out[0], 1 / 255.0);
    cv::multiply(fade_, rest_, fade_, 1 / 255.0);
    cv::add(out[0], fade_, out[0]);
  }

private:
  Mat colour_, rest_, fade_;
  Gray gray_;
};

class FreshFocus {
public:
  explicit FreshFocus(const Picture& in) : colour_(in[0].size(), CV_32F) {}
  void operator()(const Picture& in, Picture& out) {
    FillFocus<float>(colour_, 1);
    cv::subtract(cv::Scalar(1), colour_, rest_);
    gray_(in[0], fade_);
    cv::blendLinear(in[0], fade_, colour_, rest_, out[0]);
  }

private:
  Mat colour_, rest_, fade_;
  Gray gray_;
};

class ReadyFocusPlanes {
public:
  explicit ReadyFocusPlanes(const Picture& in) { chroma_.prepare(FocusMask(in[1].size())); }
  void operator()(const Picture& in, Picture& out) const {
    in[0].copyTo(out[0]);
    chroma_.apply(in, out);
  }

private:
  ChromaFade chroma_;
};

class FreshFocusPlanes {
public:
  explicit FreshFocusPlanes(const Picture& in) : mask_(in[1].size(), CV_8U) {}
  void operator()(const Picture& in, Picture& out) {
    FillFocus<uchar>(mask_, 255);
    chroma_.prepare(mask_);
    in[0].copyTo(out[0]);
    chroma_.apply(in, out);
  }

private:
  Mat mask_;
  ChromaFade chroma_;
};

// --- Zoom Blur and Motion Blur

constexpr int kTaps = 9;

double TapScale(int tap) { return 1 - (tap - 4) * 0.04; }

/// The mean of pictures of one size.
class Mean {
public:
  void add(const Mat& picture, int tap) {
    if (tap == 0) {
      picture.convertTo(sum_, CV_16U);
    } else {
      cv::add(sum_, picture, sum_, cv::noArray(), CV_16U);
    }
  }
  void finish(Mat& out) const { sum_.convertTo(out, CV_8U, 1.0 / kTaps); }

private:
  Mat sum_;
};

class MappedZoom {
public:
  explicit MappedZoom(const Picture& in) {
    for (int tap = 0; tap < kTaps; ++tap) maps_.push_back(map(in[0].size(), static_cast<float>(TapScale(tap))));
  }
  void operator()(const Picture& in, Picture& out) {
    for (int tap = 0; tap < kTaps; ++tap) {
      cv::remap(in[0], layer_, maps_[static_cast<std::size_t>(tap)], cv::noArray(), cv::INTER_NEAREST);
      mean_.add(layer_, tap);
    }
    mean_.finish(out[0]);
  }

private:
  static Mat map(Size size, float scale) {
    Mat map(size, CV_16SC2);
    for (int y = 0; y < size.height; ++y) {
      for (int x = 0; x < size.width; ++x)
        map.at<cv::Vec2s>(y, x) = {place(x, size.width, scale), place(y, size.height, scale)};
    }
    return map;
  }
  static short place(int index, int count, float scale) {
    const float middle = static_cast<float>(count) / 2;
    const float from = middle + (static_cast<float>(index) - middle) * scale;
    return static_cast<short>(std::clamp(static_cast<int>(from + 0.5F), 0, count - 1));
  }

  std::vector<Mat> maps_;
  Mat layer_;
  Mean mean_;
};

class AffineZoom {
public:
  explicit AffineZoom(const Picture& /*in*/) {}
  void operator()(const Picture& in, Picture& out) {
    for (std::size_t p = 0; p < in.size(); ++p) {
      const Size size = in[p].size();
      for (int tap = 0; tap < kTaps; ++tap) {
        const double scale = TapScale(tap);
        const cv::Matx23d matrix(scale, 0, size.width / 2.0 * (1 - scale), 0, scale, size.height / 2.0 * (1 - scale));
        cv::warpAffine(in[p], layer_, matrix, size, cv::INTER_NEAREST | cv::WARP_INVERSE_MAP, cv::BORDER_REPLICATE);
        mean_.add(layer_, tap);
      }
      mean_.finish(out[p]);
    }
  }

private:
  Mat layer_;
  Mean mean_;
};

class PolarZoom {
public:
  explicit PolarZoom(const Picture& /*in*/) {}
  void operator()(const Picture& in, Picture& out) {
    const Size size = in[0].size();
    const Point2f middle(static_cast<float>(size.width) / 2, static_cast<float>(size.height) / 2);
    const double radius = std::hypot(middle.x, middle.y);
    cv::warpPolar(in[0], rays_, Size(static_cast<int>(radius), 2048), middle, radius, cv::INTER_LINEAR);
    cv::blur(rays_, rays_, Size(129, 1));
    cv::warpPolar(rays_, out[0], size, middle, radius, cv::INTER_LINEAR | cv::WARP_INVERSE_MAP);
  }

private:
  Mat rays_;
};

void Filter(const Picture& in, Picture& out, const Mat& kernel) {
  for (std::size_t p = 0; p < in.size(); ++p) {
    cv::filter2D(in[p], out[p], -1, kernel, cv::Point(-1, -1), 0, cv::BORDER_REPLICATE);
  }
}

/// Nine taps, four pixels apart.
void LevelBlur(const Picture& in, Picture& out) {
  constexpr int kStep = 4;
  Mat kernel = Mat::zeros(1, (kTaps - 1) * kStep + 1, CV_32F);
  for (int tap = 0; tap < kTaps; ++tap) kernel.at<float>(0, tap * kStep) = 1.0F / kTaps;
  Filter(in, out, kernel);
}

/// Nine taps, a pixel apart.
void SlantedBlur(const Picture& in, Picture& out) {
  const double angle = 36 * CV_PI / 180;
  Mat kernel = Mat::zeros(kTaps, kTaps, CV_32F);
  for (int tap = -4; tap <= 4; ++tap) {
    kernel.at<float>(4 + cvRound(tap * std::sin(angle)), 4 + cvRound(tap * std::cos(angle))) += 1.0F / kTaps;
  }
  Filter(in, out, kernel);
}

void BoxBlur(const Picture& in, Picture& out) {
  for (std::size_t p = 0; p < in.size(); ++p) {
    cv::blur(in[p], out[p], Size(33, 1), cv::Point(-1, -1), cv::BORDER_REPLICATE);
  }
}

// --- Emboss and Sketch

/// Half of Emboss's relief over the picture itself.
const cv::Matx33f kRelief(-1, -0.5F, 0, -0.5F, 1, 0.5F, 0, 0.5F, 1);
const cv::Matx33f kChromaRelief(-0.25F, -0.25F, 0, -0.25F, 1, 0.25F, 0, 0.25F, 0.25F);
const cv::Matx33f kTwoTaps(-1, 0, 0, 0, 0, 0, 0, 0, 1);
const cv::Matx33f kPencil(-1, 0, -1, 0, 6, 0, -1, 0, -1);

void Relief(const Picture& in, Picture& out) {
  cv::filter2D(in[0], out[0], -1, kRelief, cv::Point(-1, -1), 0, cv::BORDER_REPLICATE);
}

void ReliefPlanes(const Picture& in, Picture& out) {
  Relief(in, out);
  for (std::size_t p = 1; p < in.size(); ++p) {
    cv::filter2D(in[p], out[p], -1, kChromaRelief, cv::Point(-1, -1), 0, cv::BORDER_REPLICATE);
  }
}

void TwoTapRelief(const Picture& in, Picture& out) {
  cv::filter2D(in[0], out[0], -1, kTwoTaps, cv::Point(-1, -1), 128, cv::BORDER_REPLICATE);
}

class GrayRelief {
public:
  explicit GrayRelief(const Picture& /*in*/) {}
  void operator()(const Picture& in, Picture& out) {
    cv::cvtColor(in[0], gray_, cv::COLOR_BGRA2GRAY);
    cv::filter2D(gray_, relief_, -1, kTwoTaps, cv::Point(-1, -1), 128, cv::BORDER_REPLICATE);
    cv::cvtColor(relief_, out[0], cv::COLOR_GRAY2BGRA);
  }

private:
  Mat gray_, relief_;
};

template <bool kFade>
class Drawing {
public:
  explicit Drawing(const Picture& in) : four_(in[0].channels() == 4) {}
  void operator()(const Picture& in, Picture& out) {
    cv::cvtColor(in[0], gray_, four_ ? cv::COLOR_BGRA2GRAY : cv::COLOR_RGB2GRAY);
    cv::filter2D(gray_, drawing_, -1, kPencil, cv::Point(-1, -1), 0, cv::BORDER_REPLICATE);
    cv::cvtColor(drawing_, out[0], four_ ? cv::COLOR_GRAY2BGRA : cv::COLOR_GRAY2RGB);
    if (kFade) cv::addWeighted(in[0], 0.5, out[0], 0.5, 0, out[0]);
  }

private:
  bool four_;
  Mat gray_, drawing_;
};

void DrawingPlanes(const Picture& in, Picture& out) {
  cv::filter2D(in[0], out[0], -1, kPencil, cv::Point(-1, -1), 0, cv::BORDER_REPLICATE);
  for (std::size_t p = 1; p < in.size(); ++p) {
    out[p].create(in[p].size(), CV_8U);
    out[p].setTo(128);
  }
}

// --- Comicbook

class Comic {
public:
  explicit Comic(const Picture& /*in*/) {}
  void operator()(const Picture& in, Picture& out) {
    cv::split(in[0], c_);
    sum(c_[0], c_[2], c_[1], d_);
    sum(c_[1], c_[2], c_[0], e_);
    cv::multiply(d_, c_[1], comic_[0], 1 / 256.0, CV_8U);
    cv::multiply(d_, c_[2], comic_[1], 1 / 256.0, CV_8U);
    cv::multiply(e_, c_[2], comic_[2], 1 / 256.0, CV_8U);
    comic_[3] = c_[3];
    cv::merge(comic_, out[0]);
  }

private:
  /// |2 a + b - c|
  static void sum(const Mat& a, const Mat& b, const Mat& c, Mat& result) {
    cv::add(a, b, result, cv::noArray(), CV_16S);
    cv::add(result, a, result, cv::noArray(), CV_16S);
    cv::subtract(result, c, result, cv::noArray(), CV_16S);
    cv::absdiff(result, cv::Scalar::all(0), result);
  }

  std::vector<Mat> c_;
  std::vector<Mat> comic_ = std::vector<Mat>(4);
  Mat d_, e_;
};

void Square(const Picture& in, Picture& out) { cv::multiply(in[0], in[0], out[0], 1 / 256.0); }

void MixChannels(const Picture& in, Picture& out) {
  static const cv::Matx33f kMix(2, -1, 1, 2, -1, 1, -1, 2, 1);
  cv::transform(in[0], out[0], kMix);
}

// --- Mirror Move and Tile Scale

constexpr int kIsolatedReflect = cv::BORDER_REFLECT | cv::BORDER_ISOLATED;

void MoveX(const Picture& in, Picture& out) {
  for (std::size_t p = 0; p < in.size(); ++p) {
    const int shift = in[p].cols / 2;
    cv::copyMakeBorder(in[p].colRange(0, in[p].cols - shift), out[p], 0, 0, shift, 0, kIsolatedReflect);
  }
}

void MoveY(const Picture& in, Picture& out) {
  for (std::size_t p = 0; p < in.size(); ++p) {
    const int shift = in[p].rows / 2;
    cv::copyMakeBorder(in[p].rowRange(0, in[p].rows - shift), out[p], shift, 0, 0, 0, kIsolatedReflect);
  }
}

/// Tiles of 1008x566 pixels in luma, one in the middle, the outer ones cut off.
class Tiles {
public:
  explicit Tiles(const Picture& /*in*/) {}
  void operator()(const Picture& in, Picture& out) {
    for (std::size_t p = 0; p < in.size(); ++p) {
      const Size tile = p == 0 ? Size(1008, 566) : Size(504, 283);
      cv::resize(in[p], tile_, tile, 0, 0, cv::INTER_NEAREST);
      const int left = (in[p].cols - tile.width) / 2;
      const int top = (in[p].rows - tile.height) / 2;
      const int right = in[p].cols - tile.width - left;
      const int bottom = in[p].rows - tile.height - top;
      cv::copyMakeBorder(tile_, out[p], top, bottom, left, right, cv::BORDER_WRAP);
    }
  }

private:
  Mat tile_;
};

class WholeTiles {
public:
  explicit WholeTiles(const Picture& /*in*/) {}
  void operator()(const Picture& in, Picture& out) {
    for (std::size_t p = 0; p < in.size(); ++p) {
      cv::resize(in[p], tile_, in[p].size() / 3, 0, 0, cv::INTER_NEAREST);
      cv::repeat(tile_, 3, 3, out[p]);
    }
  }

private:
  Mat tile_;
};

// --- The table

constexpr Upkeep kReady = Upkeep::kReady;
constexpr Upkeep kFresh = Upkeep::kFresh;

const std::vector<Call>& Calls() {
  const char* all = "bgra rgb24 yuv420p";
  const char* packed = "bgra rgb24";
  const char* planar = "yuv420p";
  const char* mapped = "Same curve through a map of places that was made once.";
  const char* loop = "Same curve in floats through a map that a plain loop makes for every picture.";

  static const std::vector<Call> kCalls = {
      {{"Swirl", all, "remap nearest, ready map", kReady, mapped}, Make<ReadyWarp<Swirled>>},
      {{"Swirl", all, "cartToPolar, polarToCart, convertMaps, remap nearest", kFresh,
        "Same curve in floats through a map that OpenCV's vector functions make for every picture."},
       Make<PolarSwirl>},
      {{"Pinch", all, "remap nearest, ready map", kReady, mapped}, Make<ReadyWarp<Pinched>>},
      {{"Pinch", all, "map by a loop, remap nearest", kFresh, loop}, Make<FreshWarp<Pinched>>},
      {{"Bulge", all, "remap nearest, ready map", kReady,
        "Same curve, a circle in rgb24 too, through a map that was made once."},
       Make<ReadyWarp<Bulged>>},
      {{"Bulge", all, "map by a loop, remap nearest", kFresh,
        "Same curve, a circle in rgb24 too, in floats through a map that a plain loop makes for every picture."},
       Make<FreshWarp<Bulged>>},
      {{"Ripple", all, "remap nearest, ready map", kReady,
        "Nearly the same waves, with true distances, through a map of places that was made once."},
       Make<ReadyWarp<Rippled>>},
      {{"Ripple", all, "map by a loop, remap nearest", kFresh,
        "Nearly the same waves, with true distances in floats, through a map that a plain loop makes for every picture."},
       Make<FreshWarp<Rippled>>},
      {{"Ground Glass", all, "remap nearest, ready noise", kReady,
        "Every pixel moves by itself, not in 2x2 blocks, by random offsets that were drawn once and stay."},
       Make<ReadyGlass>},
      {{"Ground Glass", all, "RNG fill, add, remap nearest", kFresh,
        "Every pixel moves by itself, not in 2x2 blocks, by a generator of OpenCV's own that is cheaper than rand()."},
       Make<FreshGlass>},
      {{"Vignette", packed, "multiply by 8-bit mask", kReady, "The factor is an 8-bit mask that was made once."},
       Make<ReadyVignette>},
      {{"Vignette", planar, "multiply luma by 8-bit mask", kReady,
        "The factor is an 8-bit mask that was made once; chroma is left out."},
       Make<ReadyVignette>},
      {{"Vignette", planar, "multiply by 8-bit mask, add 128 in chroma", kReady,
        "The factor is an 8-bit mask that was made once."},
       Make<ReadyVignettePlanes>},
      {{"Vignette", packed, "mask by a loop, merge, multiply", kFresh,
        "The factor is an 8-bit mask that a plain loop in floats makes for every picture."},
       Make<FreshVignette>},
      {{"Vignette", planar, "mask by a loop, multiply luma", kFresh,
        "The factor is an 8-bit mask that a plain loop in floats makes for every picture; chroma is left out."},
       Make<FreshVignette>},
      {{"Zoom Blur", packed, "warpPolar, blur, warpPolar back", kFresh,
        "The same length of smear everywhere instead of a longer one farther out, interpolated twice."},
       Make<PolarZoom>},
      {{"Zoom Blur", "bgra yuv420p", "nine warpAffine nearest, mean", kFresh,
        "The mean of nine zoomed pictures of equal weight."},
       Make<AffineZoom>},
      {{"Zoom Blur", "rgb24", "nine remap nearest, ready maps, mean", kReady,
        "The mean of nine zoomed pictures of equal weight, through maps that were made once."},
       Make<MappedZoom>},
      {{"Motion Blur", all, "filter2D, nine taps 4 apart, level", kFresh, "The same taps with equal weights."},
       Plain<LevelBlur>},
      {{"Motion Blur", all, "filter2D, nine taps 1 apart at 36 degrees", kFresh,
        "Nine taps of equal weight a pixel apart, so the smear is a quarter as long."},
       Plain<SlantedBlur>},
      {{"Motion Blur", packed, "blur 33x1", kFresh, "The mean of all 33 pixels of a level line by running sums."},
       Plain<BoxBlur>},
      {{"Emboss", packed, "filter2D 3x3", kFresh, "Same kernel in floats, applied to alpha too."}, Plain<Relief>},
      {{"Emboss", planar, "filter2D 3x3 on luma", kFresh, "Same kernel in floats; chroma is left out."}, Plain<Relief>},
      {{"Emboss", planar, "filter2D 3x3 on every plane", kFresh,
        "Same kernels in floats, without the limited range at the end."},
       Plain<ReliefPlanes>},
      {{"Emboss", "bgra", "filter2D of two taps", kFresh,
        "Two corners only, on gray instead of over the picture, alpha too."},
       Plain<TwoTapRelief>},
      {{"Emboss", "bgra", "gray, filter2D of two taps", kFresh, "Two corners only, without colours."}, Make<GrayRelief>},
      {{"Sketch", packed, "gray, filter2D 3x3", kFresh,
        "Neighbours on both sides, and no fade from the colours to the drawing."},
       Make<Drawing<false>>},
      {{"Sketch", packed, "gray, filter2D 3x3, addWeighted", kFresh, "Neighbours on both sides, alpha fades too."},
       Make<Drawing<true>>},
      {{"Sketch", planar, "filter2D 3x3 on luma, chroma 128", kFresh, "Without the limited range at the end."},
       Plain<DrawingPlanes>},
      {{"Comicbook", "bgra", "split, add, subtract, absdiff, multiply, merge", kFresh,
        "Same formula in steps over planes, rounded to nearest."},
       Make<Comic>},
      {{"Comicbook", "bgra", "multiply by itself", kFresh, "One product a sample: bounds what one pass costs."},
       Plain<Square>},
      {{"Comicbook", "rgb24", "transform 3x3", kFresh,
        "The sums alone, without magnitudes and products; the effect has no rgb24."},
       Plain<MixChannels>},
      {{"Focus Color", "bgra", "gray, copyTo mask", kReady, "A hard edge, by a mask that was made once."}, Make<HardFocus>},
      {{"Focus Color", packed, "gray, multiply by 8-bit masks, add", kReady,
        "Fades by 8-bit masks that were made once, alpha too; the effect has no rgb24."},
       Make<SoftFocus>},
      {{"Focus Color", "bgra", "mask by a loop, gray, blendLinear", kFresh,
        "Fades by masks of floats that a plain loop makes for every picture, alpha too."},
       Make<FreshFocus>},
      {{"Focus Color", planar, "copy luma, multiply chroma by 8-bit mask, add", kReady,
        "Fades by an 8-bit mask that was made once."},
       Make<ReadyFocusPlanes>},
      {{"Focus Color", planar, "mask by a loop, copy luma, multiply chroma, add", kFresh,
        "Fades by an 8-bit mask that a plain loop in floats makes for every picture."},
       Make<FreshFocusPlanes>},
      {{"Mirror Move X", all, "copyMakeBorder reflect", kFresh, "Same picture."}, Plain<MoveX>},
      {{"Mirror Move Y", all, "copyMakeBorder reflect", kFresh, "Same picture."}, Plain<MoveY>},
      {{"Tile Scale", all, "resize nearest, copyMakeBorder wrap", kFresh, "Same tiles; some pixels come from a neighbour."},
       Make<Tiles>},
      {{"Tile Scale", all, "resize nearest to a third, repeat", kFresh, "Whole tiles only, the first one in the corner."},
       Make<WholeTiles>},
  };
  return kCalls;
}

/// The frame's planes, whose memory it keeps.
Picture PlanesOf(const AVFrame& frame, int channels) {
  Picture planes;
  for (int p = 0; p < av_pix_fmt_count_planes(static_cast<AVPixelFormat>(frame.format)); ++p) {
    const int shift = p == 0 ? 0 : 1;
    planes.emplace_back(frame.height >> shift, frame.width >> shift, CV_8UC(channels), frame.data[p],
                        static_cast<std::size_t>(frame.linesize[p]));
  }
  return planes;
}

void RequireEffect(const Picture& in, const Picture& out) {
  bool changed = false;
  for (std::size_t p = 0; p < in.size(); ++p) {
    if (out[p].empty() && p > 0) continue;  // the calls that leave chroma out
    if (out[p].size() != in[p].size() || out[p].type() != in[p].type()) throw std::runtime_error("another size");
    if (out[p].data == in[p].data) throw std::runtime_error("no picture of its own");
    changed = changed || cv::norm(in[p], out[p], cv::NORM_INF) > 0;
  }
  if (!changed) throw std::runtime_error("picture unchanged");
}

void Time(benchmark::State& state, const Call& call, const std::string& format) {
  const host::FramePtr frame = FootageIn(format);
  const Picture in = PlanesOf(*frame, format == "bgra" ? 4 : format == "rgb24" ? 3 : 1);
  Picture out(in.size());
  const Work work = call.prepare(in);
  work(in, out);
  RequireEffect(in, out);
  for (auto iteration : state) {
    work(in, out);
    benchmark::ClobberMemory();
  }
  bench::SetCounters(state, *frame);
}

}  // namespace

void AddOpenCv() {
  cv::setNumThreads(1);
  for (const Call& call : Calls()) {
    AddRows("OpenCV", call.description, Clock::kWall,
            [&call](benchmark::State& state, const std::string& format) { Time(state, call, format); });
  }
}

}  // namespace norix::peers
