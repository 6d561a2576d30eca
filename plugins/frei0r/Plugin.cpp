// The frei0r interface of every plug-in. The build compiles this file once for each: NORIX_PLUGIN is the display name of an
// effect, or of a group when NORIX_PLUGIN_MIXES is defined, as a mixer of two pictures (true) or a filter (false).

#pragma GCC visibility push(default)
extern "C" {
#include <frei0r.h>
}
#pragma GCC visibility pop

#include <cmath>
#include <cstdint>
#include <cstring>
#include <exception>
#include <limits>

#include "engine/Summaries.h"

#ifdef NORIX_PLUGIN_MIXES
#include "GroupInstance.h"
using Instance = norix::frei0r::GroupInstance;
#else
#include "EffectInstance.h"
using Instance = norix::frei0r::EffectInstance;
#endif

using norix::frei0r::ByteOrder;
using norix::frei0r::Parameter;

namespace {

/// A host's pixels are bytes in memory.
const std::uint8_t* Bytes(const std::uint32_t* pixels) { return reinterpret_cast<const std::uint8_t*>(pixels); }
std::uint8_t* Bytes(std::uint32_t* pixels) { return reinterpret_cast<std::uint8_t*>(pixels); }

struct Handle {
  int width;
  int height;
  Instance instance;
};

bool IsParameter(int index) { return index >= 0 && index < Instance::kParameters; }

/// Hosts send any number.
double ValueFrom(const Parameter& parameter, double sent) {
  if (std::isnan(sent)) return parameter.standard;
  if (parameter.isSwitch) return sent >= 0.5 ? 1.0 : 0.0;
  return sent < 0.0 ? 0.0 : sent > 1.0 ? 1.0 : sent;
}

}  // namespace

extern "C" {

// 0 would be a failure to some hosts, whatever the others say.
int f0r_init(void) {
  Instance::Prepare();
  return 1;
}

void f0r_deinit(void) {}

void f0r_get_plugin_info(f0r_plugin_info_t* info) {
  info->name = Instance::kMixes ? "Norix " NORIX_PLUGIN " Mix" : "Norix " NORIX_PLUGIN;
  info->author = "NorixEngine";
  info->plugin_type = Instance::kMixes ? F0R_PLUGIN_TYPE_MIXER2 : F0R_PLUGIN_TYPE_FILTER;
  info->color_model = Instance::kOrder == ByteOrder::kRgba ? F0R_COLOR_MODEL_RGBA8888 : F0R_COLOR_MODEL_BGRA8888;
  info->frei0r_version = FREI0R_MAJOR_VERSION;
  info->major_version = NORIX_VERSION_MAJOR;
  info->minor_version = NORIX_VERSION_MINOR;
  info->num_params = Instance::kParameters;
  static constexpr const char* kSummary = norix::host::SummaryOf(NORIX_PLUGIN);
  info->explanation = kSummary;
}

void f0r_get_param_info(f0r_param_info_t* info, int index) {
  if (!IsParameter(index)) return;
  const Parameter parameter = Instance::ParameterAt(index);
  info->name = parameter.name;
  info->type = parameter.isSwitch ? F0R_PARAM_BOOL : F0R_PARAM_DOUBLE;
  info->explanation = parameter.meaning;
}

f0r_instance_t f0r_construct(unsigned int width, unsigned int height) {
  constexpr unsigned kWidest = std::numeric_limits<int>::max() / 4;
  constexpr unsigned kHighest = std::numeric_limits<int>::max();
  if (width < 1 || height < 1 || width > kWidest || height > kHighest) return nullptr;
  if (std::numeric_limits<std::ptrdiff_t>::max() / 4 / width < height) return nullptr;
  const int columns = static_cast<int>(width);
  const int rows = static_cast<int>(height);
  try {
    return new Handle{columns, rows, Instance(columns, rows)};
  } catch (const std::exception&) {
    return nullptr;
  }
}

void f0r_destruct(f0r_instance_t instance) { delete static_cast<Handle*>(instance); }

void f0r_set_param_value(f0r_instance_t instance, f0r_param_t value, int index) {
  if (!instance || !value || !IsParameter(index)) return;
  try {
    static_cast<Handle*>(instance)->instance.Set(
        index, ValueFrom(Instance::ParameterAt(index), *static_cast<const double*>(value)));
  } catch (const std::exception&) {
    // Without memory the picture stays as it is.
  }
}

void f0r_get_param_value(f0r_instance_t instance, f0r_param_t value, int index) {
  if (!instance || !value || !IsParameter(index)) return;
  *static_cast<double*>(value) = static_cast<const Handle*>(instance)->instance.Get(index);
}

// What time a host gives is milliseconds, seconds or nothing sensible, so it is left alone.
void f0r_update2(f0r_instance_t instance, double /*time*/, const std::uint32_t* first, const std::uint32_t* second,
                 const std::uint32_t* /*third*/, std::uint32_t* to) {
  if (!instance || !first || !to) return;
  const Handle& handle = *static_cast<const Handle*>(instance);
  try {
    handle.instance.Render(Bytes(first), Bytes(second ? second : first), Bytes(to));
  } catch (const std::exception&) {
    // A picture shows even when there is no memory for its effect.
    std::memcpy(to, first, norix::frei0r::BytesOf(handle.width, handle.height));
  }
}

void f0r_update(f0r_instance_t instance, double time, const std::uint32_t* from, std::uint32_t* to) {
  f0r_update2(instance, time, from, nullptr, nullptr, to);
}
}
