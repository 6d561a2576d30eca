#pragma once

#include <asio/post.hpp>
#include <asio/thread_pool.hpp>
#include <cstddef>
#include <future>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

namespace norix::host {

/// Threads that wait for work.
class Workers {
public:
  explicit Workers(int threads) : pool_(static_cast<std::size_t>(threads)) {}
  ~Workers() { pool_.join(); }
  Workers(const Workers&) = delete;
  Workers& operator=(const Workers&) = delete;

  /// Has a thread do the work. The future holds what it returns or throws.
  template <class Work>
  auto run(Work work) {
    using Result = std::invoke_result_t<Work&>;
    // Shared, since the pool copies what it is given.
    const auto task = std::make_shared<std::packaged_task<Result()>>(std::move(work));
    std::future<Result> result = task->get_future();
    asio::post(pool_, [task] { (*task)(); });
    return result;
  }

  /// Does the work for 0 .. count - 1, and returns when all is done. Not from one of these threads.
  template <class Work>
  void runAll(std::size_t count, const Work& work) {
    std::vector<std::future<void>> done;
    for (std::size_t i = 0; i < count; ++i) done.push_back(run([&work, i] { work(i); }));
    for (std::future<void>& each : done) each.wait();
    for (std::future<void>& each : done) each.get();
  }

private:
  asio::thread_pool pool_;
};

}  // namespace norix::host
