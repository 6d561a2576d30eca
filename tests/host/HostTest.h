#ifndef NORIX_TESTS_HOST_HOSTTEST_H
#define NORIX_TESTS_HOST_HOSTTEST_H

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "host/EngineFrames.h"
#include "host/MediaTools.h"
#include "host/Process.h"

namespace norix::test {

using Words = std::vector<std::string>;

/** How to launch norix with these arguments. */
Launch NorixLaunch(const Words& arguments);

/** A test with a folder of its own, which goes when the test ends. */
class HostTest : public testing::Test {
protected:
  HostTest();
  ~HostTest() override;

  /** A path in the test's folder. */
  std::string In(const std::string& name) const { return folder_ + '/' + name; }

  /** Names of all that is in the test's folder, or in one below it. */
  std::set<std::string> Names(const std::string& below = "") const;

  /** Runs `norix ARGUMENTS`. */
  static Ending Norix(const Words& arguments) { return RunToEnd(NorixLaunch(arguments)); }

  /** Runs `norix render INPUT OUTPUT ARGUMENTS` on files of the test's folder. */
  Ending Render(const std::string& input, const std::string& output, const Words& arguments) const;

  /** The same, which must succeed and announce the output on stdout. */
  Ending RenderWell(const std::string& input, const std::string& output, const Words& arguments) const;

  /** Makes a file with ffmpeg from generated pictures: moving test patterns, 25 a second, with H.264 that reorders. */
  void MakeSilentClip(const std::string& name, int width, int height, int frames, const Words& arguments = {}) const;

  /** The same with a tone of the same length, as AAC unless the arguments choose another codec. */
  void MakeClip(const std::string& name, int width, int height, int frames, const Words& arguments = {}) const;

  /** Makes a file with pictures of noise, coded without loss by the codec the arguments choose. */
  void MakeNoiseClip(const std::string& name, const std::string& pixelFormat, int width, int height, int frames,
                     const Words& arguments) const;

private:
  /** Makes a file with ffmpeg, or takes it from an earlier test that made the same. */
  void Make(const std::string& name, const Words& arguments) const;

  std::string folder_;
};

/** Fails the test unless norix ended in order, with nothing on stderr but notes. */
void ExpectDone(const Ending& ending);

}  // namespace norix::test

#endif
