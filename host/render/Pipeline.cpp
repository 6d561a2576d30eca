#include "render/Pipeline.h"

#include <tbb/enumerable_thread_specific.h>
#include <tbb/global_control.h>
#include <tbb/parallel_pipeline.h>
#include <tbb/task_arena.h>

#include <memory>
#include <utility>

#include "Interrupt.h"

namespace norix::host {

std::int64_t RunPipeline(ClipReader& reader, const Chain& chain, Output& output, int threads, Progress& progress) {
  using Job = std::shared_ptr<ClipPart>;
  // Enough that no thread waits for work; few, so that memory stays small however long the clip is.
  const auto atWork = static_cast<std::size_t>(threads) + 2;
  const tbb::global_control limit(tbb::global_control::max_allowed_parallelism, static_cast<std::size_t>(threads));
  tbb::task_arena arena(threads);
  tbb::enumerable_thread_specific<Chain> chains(chain);
  const PictureShape wanted = output.shape();
  std::int64_t written = 0;

  const auto read = [&](tbb::flow_control& flow) -> Job {
    auto part = Interrupted() ? std::nullopt : reader.next();
    if (part) return std::make_shared<ClipPart>(std::move(*part));
    flow.stop();
    return nullptr;
  };
  const auto render = [&](const Job& job) {
    if (job->frame) job->frame = chains.local().apply(std::move(job->frame), job->index, wanted);
    return job;
  };
  const auto write = [&](const Job& job) {
    for (const PacketPtr& packet : job->packets) output.writePacket(*packet);
    if (!job->frame) return;
    output.writeFrame(*job->frame);
    progress.update(++written);
  };

  const tbb::filter_mode renderMode = chain.inOrder() ? tbb::filter_mode::serial_in_order : tbb::filter_mode::parallel;
  arena.execute([&] {
    tbb::parallel_pipeline(atWork, tbb::make_filter<void, Job>(tbb::filter_mode::serial_in_order, read) &
                                       tbb::make_filter<Job, Job>(renderMode, render) &
                                       tbb::make_filter<Job, void>(tbb::filter_mode::serial_in_order, write));
  });
  return written;
}

}  // namespace norix::host
