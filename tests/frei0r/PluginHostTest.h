#ifndef NORIX_TESTS_FREI0R_PLUGINHOSTTEST_H
#define NORIX_TESTS_FREI0R_PLUGINHOSTTEST_H

#include <cstdlib>
#include <string>

#include "frei0r/PluginCases.h"
#include "host/HostTest.h"

namespace norix::test {

/** A test that runs a program which loads the plug-ins. */
class PluginHostTest : public HostTest {
protected:
  PluginHostTest() { setenv("FREI0R_PATH", NORIX_FREI0R_FOLDER, 1); }

  /** Frames of noise, which are also written to a file without a header. */
  Clip MakeRaw(const std::string& name, int width, int height, int frames, unsigned seed) const {
    Clip clip = {"rgba", width, height, {}};
    std::string content;
    for (int i = 0; i < frames; ++i) {
      clip.frames.push_back(Noise(PictureBytes("rgba", width, height), seed + static_cast<unsigned>(i)));
      content += clip.frames.back();
    }
    SetContent(In(name), content);
    return clip;
  }

  /** The frames of a file without a header, of the form of another clip. */
  Clip ReadRaw(const std::string& name, const Clip& form) const {
    Clip clip = {form.pixelFormat, form.width, form.height, {}};
    const std::string content = Content(In(name));
    const std::size_t bytes = PictureBytes(form.pixelFormat, form.width, form.height);
    EXPECT_EQ(content.size() % bytes, 0U);
    for (std::size_t at = 0; at + bytes <= content.size(); at += bytes) clip.frames.push_back(content.substr(at, bytes));
    return clip;
  }
};

/** Shares of few bits have few digits, so that every program reads the same number back. */
inline std::string Text(double value) { return std::to_string(value); }

}  // namespace norix::test

#endif
