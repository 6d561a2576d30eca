// Plugins of frei0r, which take four bytes a pixel.

#include <dlfcn.h>
#include <frei0r.h>

#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "Peer.h"
#include "Runs.h"

namespace norix::peers {

namespace {

struct Parameter {
  const char* name;  // null after the last one
  double value;
};

struct Call {
  Description description;
  const char* plugin;
  Parameter parameters[3];
};

constexpr Upkeep kReady = Upkeep::kReady;
constexpr Upkeep kFresh = Upkeep::kFresh;

const Call kCalls[] = {
    {{"Swirl", "rgba", "vertigo", kFresh, "Turns and zooms the picture as one piece and blends it with the last ones."},
     "vertigo",
     {}},
    {{"Pinch", "rgba", "defish0r inverted, nearest", kReady,
      "A lens's curve over the whole picture instead of a pinch in a circle, through a map that was made once."},
     "defish0r",
     {{"DeFish", 1}, {"Interpolator", 0}}},
    {{"Bulge", "rgba", "lenscorrection", kFresh,
      "A polynomial of the squared distance over the whole picture, without the square root of a true bulge."},
     "lenscorrection",
     {{"Correction near center", 0.6}, {"Correction near edges", 0.55}}},
    {{"Ripple", "bgra", "distort0r", kFresh,
      "Two straight sine waves, computed at the corners of 8x8 cells and linear within; there are no rings."},
     "distort0r",
     {{"Amplitude", 0.3}, {"Frequency", 0.05}}},
    {{"Vignette", "rgba", "vignette", kReady, "Multiplies by a mask of floats that is made anew only for new parameters."},
     "vignette",
     {{"aspect", 0.5}, {"clearCenter", 0}, {"soft", 0.6}}},
    {{"Motion Blur", "rgba", "squareblur", kFresh, "The mean of a square of pixels, not of a line."},
     "squareblur",
     {{"Kernel size", 0.01}}},
    {{"Emboss", "rgba", "emboss", kFresh, "A gray relief lit from a direction, from luminance; no colour is left."},
     "emboss",
     {}},
    {{"Sketch", "rgba", "sobel", kFresh, "Sobel's gradient of every colour on black; no luminance and no paper."},
     "sobel",
     {}},
    {{"Comicbook", "bgra", "cartoon", kFresh, "Fewer colours and black outlines, from each pixel's neighbours."},
     "cartoon",
     {}},
    {{"Focus Color", "rgba", "bw0r", kFresh, "Makes the whole picture gray; there is no circle."}, "bw0r", {}},
    {{"Focus Color", "rgba", "alphaspot", kFresh, "Draws the feathered circle into the alpha bytes; nothing turns gray."},
     "alphaspot",
     {{"Shape", 0.5}, {"Transition width", 0.2}, {"Operation", 0}}},
    {{"Mirror Move X", "bgra", "flippo X", kFresh, "Mirrors the whole picture and does not move it."},
     "flippo",
     {{"X axis", 1}}},
    {{"Mirror Move Y", "bgra", "flippo Y", kFresh, "Turns the whole picture over and does not move it."},
     "flippo",
     {{"Y axis", 1}}},
    {{"Tile Scale", "rgba", "scale0tilt to a half", kReady, "One tile on black instead of a grid."},
     "scale0tilt",
     {{"Scale X", 0.25}, {"Scale Y", 0.25}}},
    {{"Tile Scale", "rgba", "cairoimagegrid", kFresh,
      "A grid of whole interpolated tiles, the first one in the corner, drawn by a general graphics library."},
     "cairoimagegrid",
     {{"rows", 0.1}, {"columns", 0.1}}},
};

/// A plugin that is ready for pictures of kWidth x kHeight.
class Plugin {
public:
  explicit Plugin(const Call& call) : library_(dlopen(PathOf(call.plugin).c_str(), RTLD_NOW | RTLD_LOCAL)) {
    if (!library_) throw std::runtime_error(dlerror());
    update_ = function<decltype(f0r_update)>("f0r_update");
    destruct_ = function<decltype(f0r_destruct)>("f0r_destruct");
    deinit_ = function<decltype(f0r_deinit)>("f0r_deinit");
    if (function<decltype(f0r_init)>("f0r_init")() == 0) throw std::runtime_error("the plugin does not start");
    f0r_plugin_info_t info{};
    function<decltype(f0r_get_plugin_info)>("f0r_get_plugin_info")(&info);
    if (info.plugin_type != F0R_PLUGIN_TYPE_FILTER) throw std::runtime_error("the plugin is no filter");
    takesRgba_ = info.color_model == F0R_COLOR_MODEL_RGBA8888;
    instance_ = function<decltype(f0r_construct)>("f0r_construct")(kWidth, kHeight);
    if (!instance_) throw std::runtime_error("the plugin does not take the picture's size");
    for (const auto& [name, value] : call.parameters) {
      if (name) set(name, value, info.num_params);
    }
  }
  ~Plugin() {
    if (instance_) destruct_(instance_);
    if (deinit_) deinit_();
    // Plugins written in C++ stay loaded: not all of them survive being loaded twice.
  }
  Plugin(const Plugin&) = delete;
  Plugin& operator=(const Plugin&) = delete;

  bool takesRgba() const { return takesRgba_; }
  void update(double seconds, const std::uint32_t* in, std::uint32_t* out) { update_(instance_, seconds, in, out); }

private:
  static std::string PathOf(const char* plugin) { return std::string(NORIX_FREI0R_PLUGINS "/") + plugin + ".so"; }

  template <class Function>
  Function* function(const char* name) const {
    auto* address = reinterpret_cast<Function*>(dlsym(library_, name));
    if (!address) throw std::runtime_error(std::string("the plugin has no ") + name);
    return address;
  }

  void set(const std::string& name, double value, int count) {
    for (int i = 0; i < count; ++i) {
      f0r_param_info_t info{};
      function<decltype(f0r_get_param_info)>("f0r_get_param_info")(&info, i);
      if (name == info.name) return function<decltype(f0r_set_param_value)>("f0r_set_param_value")(instance_, &value, i);
    }
    throw std::runtime_error("the plugin has no parameter " + name);
  }

  void* library_;
  decltype(f0r_update)* update_ = nullptr;
  decltype(f0r_destruct)* destruct_ = nullptr;
  decltype(f0r_deinit)* deinit_ = nullptr;
  f0r_instance_t instance_ = nullptr;
  bool takesRgba_ = false;
};

void Time(benchmark::State& state, const Call& call, const std::string& format) {
  constexpr double kSecondsPerPicture = 0.04;
  const host::FramePtr frame = FootageIn(format);
  Plugin plugin(call);
  if (plugin.takesRgba() != (format == "rgba")) throw std::runtime_error("the plugin takes another format");

  constexpr std::size_t kPixels = std::size_t{kWidth} * kHeight;
  if (frame->linesize[0] != 4 * kWidth) throw std::runtime_error("the footage has padding");
  std::vector<std::uint32_t> in(kPixels);
  std::memcpy(in.data(), frame->data[0], 4 * kPixels);
  std::vector<std::uint32_t> out(kPixels, 0x5a5a5a5a);
  const std::vector<std::uint32_t> unwritten = out;

  double seconds = 0;
  const auto render = [&] {
    plugin.update(seconds, in.data(), out.data());
    seconds += kSecondsPerPicture;
  };
  render();
  render();  // some effects show only what has changed
  if (out == in) throw std::runtime_error("picture unchanged");
  if (out == unwritten) throw std::runtime_error("no picture");
  for (auto iteration : state) {
    render();
    benchmark::ClobberMemory();
  }
  bench::SetCounters(state, *frame);
}

}  // namespace

void AddFrei0r() {
  for (const Call& call : kCalls) {
    AddRows("frei0r", call.description, Clock::kWall,
            [&call](benchmark::State& state, const std::string& format) { Time(state, call, format); });
  }
}

}  // namespace norix::peers
