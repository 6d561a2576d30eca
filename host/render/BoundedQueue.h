#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <optional>
#include <utility>

namespace norix::host {

/// Hands things from one thread to another, in order, and no more than so many at a time.
template <class T>
class BoundedQueue {
public:
  explicit BoundedQueue(std::size_t capacity) : capacity_(capacity) {}

  /// Waits for room. False once the queue is closed; the thing is dropped then.
  bool push(T value) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return closed_ || values_.size() < capacity_; });
    if (closed_) return false;
    values_.push_back(std::move(value));
    changed_.notify_all();
    return true;
  }

  /// Waits for a thing. Nullopt once the queue is closed and empty.
  std::optional<T> pop() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return closed_ || !values_.empty(); });
    if (values_.empty()) return std::nullopt;
    std::optional<T> value(std::move(values_.front()));
    values_.pop_front();
    changed_.notify_all();
    return value;
  }

  /// No more will be pushed.
  void close() {
    const std::lock_guard lock(mutex_);
    closed_ = true;
    changed_.notify_all();
  }

private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<T> values_;
  std::size_t capacity_;
  bool closed_ = false;
};

}  // namespace norix::host
