#include "Render.h"

#include <NorixEngine/NorixEngine.h>

#include <cstdlib>
#include <memory>
#include <mutex>
#include <stdexcept>

#include "Bands.h"
#include "BgraRows.h"
#include "Traits.h"
#include "engine/Catalogue.h"

namespace norix::python {

namespace {

/// Random numbers belong to the process.
std::mutex& RandomNumbers() {
  static std::mutex mutex;
  return mutex;
}

/// A BGRA picture whose rows are all the same memory: it holds the row that is in work.
class BgraRow {
public:
  BgraRow(int width, int height) : bytes_(std::size_t{4} * static_cast<std::size_t>(width)) {
    frame_.format = AV_PIX_FMT_BGRA;
    frame_.width = width;
    frame_.height = height;
    frame_.data[0] = bytes_.data();
    frame_.linesize[0] = 0;
  }

  AVFrame& frame() { return frame_; }

private:
  std::vector<std::uint8_t> bytes_;
  AVFrame frame_ = {};
};

class EffectRun {
public:
  explicit EffectRun(const Work& work)
      : name_(work.effect), threads_(work.threads), params_(MakeParams(work.effect, work.values)) {}

  /// The effect tells red from blue, and by the order that BGRA has, in no other packed format.
  bool wantsBgra() const { return answerToRgb() == AV_PIX_FMT_BGRA; }

  /// Three channels are taken as they are, and in their order only.
  bool takesRgbAlone() const { return answerToRgb() == AV_PIX_FMT_RGB24; }

  void inFormat(const PixelFormat& format, AVFrame& destination, AVFrame& source) const {
    const bool keepsSource = host::FindEffect(name_).leavesBytes || format.hasAlphaPlane();
    const bool rowByRow = wantsBgra() && !format.isPlanar() && destination.linesize[0] != source.linesize[0];
    prepare(destination, source);
    RunBands(bandsOf(source), [&](Rows rows) {
      if (keepsSource) CopyRows(destination, source, format, rows);
      if (!rowByRow) return band(destination, source, rows);
      // These effects find the destination's next row by the source's line size.
      for (int y = rows.first; y < rows.first + rows.count; ++y) band(destination, source, {y, 1});
    });
  }

  /// A pixel becomes what its own colours and its place say, so a row needs no other.
  void throughBgra(const PixelFormat& format, AVFrame& destination, AVFrame& source) const {
    prepare(destination, source);
    RunBands(bandsOf(source), [&](Rows rows) {
      BgraRow from(source.width, source.height);
      BgraRow to(source.width, source.height);
      for (int y = rows.first; y < rows.first + rows.count; ++y) {
        const Rows row = {y, 1};
        ToBgra(from.frame(), source, format, row);
        band(to.frame(), from.frame(), row);
        FromBgra(destination, to.frame(), source, format, row);
      }
    });
  }

private:
  std::vector<Rows> bandsOf(const AVFrame& source) const {
    return CutIntoBands(source.width, source.height, TraitsOf(name_)->cut ? threads_ : 1);
  }

  int answerToRgb() const { return filter_check_format(name_.c_str(), AV_PIX_FMT_RGB24); }

  /// A band of no rows writes into the object what bands then only read.
  void prepare(AVFrame& destination, AVFrame& source) const { band(destination, source, {0, 0}); }

  void band(AVFrame& destination, AVFrame& source, Rows rows) const {
    filter_video_frame(&destination, &source, name_.c_str(), params_.get(), 0, rows.first, rows.count);
  }

  std::string name_;
  int threads_;
  ParamsPtr params_;
};

}  // namespace

void PrepareEffects() {
  for (const Traits& traits : kTraits) filter_check_format(traits.name, AV_PIX_FMT_BGRA);
}

void RenderEffect(const Work& work, const PixelFormat& format, AVFrame& destination, AVFrame& source) {
  if (!TraitsOf(work.effect)) throw std::invalid_argument("the effect has no picture");
  const EffectRun run(work);
  std::unique_lock<std::mutex> lock;
  if (host::FindEffect(work.effect).drawsRandomNumbers) {
    lock = std::unique_lock(RandomNumbers());
    std::srand(work.seed);
  }
  const bool convert = !format.isPlanar() && format.code != AV_PIX_FMT_BGRA && run.wantsBgra();
  if (convert) return run.throughBgra(format, destination, source);
  // What takes RGB treats all channels alike.
  if (format.code == AV_PIX_FMT_BGR24 && run.takesRgbAlone()) source.format = destination.format = AV_PIX_FMT_RGB24;
  run.inFormat(format, destination, source);
}

}  // namespace norix::python
