#ifndef NORIX_TESTS_HOST_ENGINEFRAMES_H
#define NORIX_TESTS_HOST_ENGINEFRAMES_H

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

struct FilterGroupEntry;
struct FilterParams;

namespace norix::test {

/** Bytes of a picture without padding. */
std::size_t PictureBytes(const std::string& pixelFormat, int width, int height);

/** Pictures without padding, one after the other, and what is needed to understand them. */
struct Clip {
  std::string pixelFormat;
  int width = 0;
  int height = 0;
  std::vector<std::string> frames{};
};

/** The video of a file. */
Clip ReadClip(const std::string& path, const std::string& pixelFormat);

/** The level of each frame. */
using Levels = std::function<int(std::size_t frame)>;

/** Changes settings after the level has made them. */
using Change = std::function<void(FilterParams& params)>;

/** Writes what a group has set in an entry's object; fails the test for an effect that no group has. */
Change SettingsOf(const FilterGroupEntry& entry);

/** What the engine itself makes of each frame when it renders the whole picture at once. */
Clip Apply(const Clip& clip, const std::string& effect, const Levels& levels, const Change& change = nullptr);
Clip Apply(const Clip& clip, const std::string& effect, int level, const Change& change = nullptr);

/** Fails the test where the frames differ: names the frame and the byte. */
void ExpectSameFrames(const Clip& expected, const Clip& actual);

/** The largest difference of two bytes at the same place; 255 when numbers or sizes of frames differ. */
int LargestDifference(const Clip& a, const Clip& b);

/** A picture of bytes that look random, the same for the same seed. */
std::string Noise(std::size_t size, unsigned seed);

}  // namespace norix::test

#endif
