#include "Bands.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>

namespace norix::python {

namespace {

// Starting a thread takes about as long as the fastest effect takes for this many.
constexpr std::int64_t kPixelsWorthAThread = 1 << 16;

}  // namespace

std::vector<Rows> CutIntoBands(int width, int height, int threads) {
  const std::int64_t worth = std::int64_t{width} * height / kPixelsWorthAThread;
  const std::int64_t count = std::clamp<std::int64_t>(worth, 1, threads);
  const std::int64_t rows = std::max<std::int64_t>(2, ((height + count - 1) / count + 1) & ~std::int64_t{1});
  std::vector<Rows> bands;
  for (std::int64_t first = 0; first < height; first += rows) {
    bands.push_back({static_cast<int>(first), static_cast<int>(std::min(rows, height - first))});
  }
  return bands;
}

// Threads live for one call: nothing is left behind that a forked process would lack.
void RunBands(const std::vector<Rows>& bands, const std::function<void(Rows)>& work) {
  if (bands.size() == 1) return work(bands.front());
  std::atomic<std::size_t> next = 0;
  std::mutex mutex;
  std::exception_ptr failure;
  const auto run = [&] {
    for (std::size_t i = next++; i < bands.size(); i = next++) {
      try {
        work(bands[i]);
      } catch (...) {
        const std::lock_guard lock(mutex);
        if (!failure) failure = std::current_exception();
      }
    }
  };
  {
    std::vector<std::jthread> threads;
    threads.reserve(bands.size());
    try {
      while (threads.size() + 1 < bands.size()) threads.emplace_back(run);
    } catch (const std::system_error&) {
      // Where the system grants no more threads, those there are do all of the work.
    }
    run();
  }
  if (failure) std::rethrow_exception(failure);
}

}  // namespace norix::python
