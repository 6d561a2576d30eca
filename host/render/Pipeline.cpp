#include "render/Pipeline.h"

#include <algorithm>
#include <future>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "Interrupt.h"
#include "render/BoundedQueue.h"
#include "render/Workers.h"

namespace norix::host {

namespace {

/// Chains for as many threads as need one at the same time.
class Chains {
public:
  explicit Chains(const Chain& prototype) : prototype_(prototype) {}

  FramePtr apply(FramePtr frame, std::int64_t index, const PictureShape& wanted) {
    std::unique_ptr<Chain> chain = take();
    FramePtr result = chain->apply(std::move(frame), index, wanted);
    const std::lock_guard lock(mutex_);
    idle_.push_back(std::move(chain));
    return result;
  }

private:
  std::unique_ptr<Chain> take() {
    const std::lock_guard lock(mutex_);
    if (idle_.empty()) return std::make_unique<Chain>(prototype_);
    std::unique_ptr<Chain> chain = std::move(idle_.back());
    idle_.pop_back();
    return chain;
  }

  const Chain& prototype_;
  std::mutex mutex_;
  std::vector<std::unique_ptr<Chain>> idle_;
};

/// As many as there are threads, unless the pictures are so large that fewer fill the memory set aside for them.
int PicturesAtWork(const PictureShape& shape, int threads) {
  constexpr std::int64_t kMemory = std::int64_t{2} << 30;
  constexpr std::int64_t kBytesPerPixel = 12;  // four bytes, in the source, the result and on the way
  const std::int64_t pictures = kMemory / (kBytesPerPixel * shape.width * shape.height);
  return static_cast<int>(std::clamp<std::int64_t>(pictures, 1, threads));
}

}  // namespace

std::int64_t RunPipeline(const PipelineEnds& ends, const Chain& chain, Output& output, int threads, Progress& progress) {
  const PictureShape wanted = output.shape();
  Chains chains(chain);
  const int atWork = PicturesAtWork(wanted, threads);
  // Enough that no thread waits for work; few, so that memory stays small however long the clip is.
  BoundedQueue<std::future<ClipPart>> rendered(static_cast<std::size_t>(atWork) + 2);
  Workers workers(chain.inOrder() ? 1 : atWork);

  std::int64_t written = 0;
  std::future<void> writing = std::async(std::launch::async, [&] {
    try {
      while (std::optional<std::future<ClipPart>> next = rendered.pop()) {
        ClipPart part = next->get();
        ends.writePackets(part);
        if (!part.frame) continue;
        output.writeFrame(*part.frame);
        progress.update(++written);
      }
    } catch (...) {
      rendered.close();  // nothing more can be written: reading may end
      throw;
    }
  });

  const auto readAll = [&] {
    while (!Interrupted()) {
      std::optional<ClipPart> part = ends.read();
      if (!part) return;
      const auto shared = std::make_shared<ClipPart>(std::move(*part));
      const bool wantedStill = rendered.push(workers.run([shared, &chains, wanted] {
        if (shared->frame) shared->frame = chains.apply(std::move(shared->frame), shared->index, wanted);
        return std::move(*shared);
      }));
      if (!wantedStill) return;
    }
  };
  try {
    readAll();
  } catch (...) {
    rendered.close();
    writing.wait();
    throw;
  }
  rendered.close();
  writing.get();
  return written;
}

}  // namespace norix::host
