#ifndef NORIX_TESTS_FUZZ_BYTEREADER_H
#define NORIX_TESTS_FUZZ_BYTEREADER_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <utility>

namespace norix::test {

/** Takes an input apart from its front; zeros follow its end. The same on every machine. */
class ByteReader {
public:
  ByteReader(const std::uint8_t* data, std::size_t size) : rest_(data, size) {}

  bool AtEnd() const { return rest_.empty(); }

  std::uint8_t Byte() {
    if (rest_.empty()) return 0;
    const std::uint8_t first = rest_.front();
    rest_ = rest_.subspan(1);
    return first;
  }

  std::uint64_t Bytes(int count) {
    std::uint64_t value = 0;
    for (int i = 0; i < count; ++i) value |= std::uint64_t{Byte()} << (8 * i);
    return value;
  }

  int Integer() { return static_cast<int>(static_cast<std::uint32_t>(Bytes(4))); }
  int SmallInteger() { return static_cast<std::int16_t>(static_cast<std::uint16_t>(Bytes(2))); }

  /** Any bit pattern. */
  double Double() { return std::bit_cast<double>(Bytes(8)); }

  /** One of the numbers below `count`. */
  std::size_t Below(std::size_t count) { return Byte() % count; }

  template <typename List>
  const auto& Pick(const List& list) {
    return list[Below(std::size(list))];
  }

  /** A byte for the length, then the letters. */
  std::string Text() {
    const std::size_t length = Byte();
    std::string text;
    while (text.size() < length && !AtEnd()) text.push_back(static_cast<char>(Byte()));
    return text;
  }

  std::span<const std::uint8_t> Rest() { return std::exchange(rest_, {}); }

private:
  std::span<const std::uint8_t> rest_;
};

}  // namespace norix::test

#endif
