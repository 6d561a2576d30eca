// The reference effects for Python tests, and the engine's bands one by one. Shares no code with the module under test.

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "exact/ParamObject.h"
#include "reference/Reference.h"
#include "support/Formats.h"

namespace py = pybind11;

namespace norix::test {

namespace {

using Planes = std::vector<py::array_t<std::uint8_t>>;

/// A level, and fields by number that are set after it.
struct Settings {
  int level;
  std::vector<std::pair<std::size_t, double>> fields;
};

int FormatCode(const std::string& name) {
  if (name == "rgb24") return kRgb24;
  if (name == "bgr24") return kBgr24;
  if (name == "rgba") return kRgba;
  if (name == "bgra") return kBgra;
  if (name == "yuv420p") return kYuv420p;
  if (name == "yuva420p") return kYuva420p;
  throw std::invalid_argument("no such format");
}

/// Planes without gaps.
AVFrame FrameOf(int format, Planes& planes) {
  AVFrame frame = {};
  frame.format = format;
  frame.height = static_cast<int>(planes.at(0).shape(0));
  frame.width = static_cast<int>(planes.at(0).shape(1));
  for (std::size_t i = 0; i < planes.size(); ++i) {
    if ((planes[i].flags() & py::array::c_style) == 0) throw std::invalid_argument("a plane has gaps");
    frame.data[i] = planes[i].mutable_data();
    frame.linesize[i] = static_cast<int>(planes[i].size() / planes[i].shape(0));
  }
  return frame;
}

ParamObject Make(const std::string& effect, const Settings& settings) {
  ParamObject params(effect.c_str(), settings.level);
  for (const auto& [index, value] : settings.fields) params.SetField(index, value);
  return params;
}

void Reference(const std::string& effect, int level, std::vector<std::pair<std::size_t, double>> fields,
               const std::string& format, Planes out, Planes image, unsigned seed, int firstRow, int rowCount) {
  const ParamObject params = Make(effect, {level, std::move(fields)});
  AVFrame to = FrameOf(FormatCode(format), out);
  const AVFrame from = FrameOf(FormatCode(format), image);
  std::srand(seed);
  reference::FindEffect(effect.c_str())->render(to, from, params.Get(), firstRow, rowCount < 0 ? from.height : rowCount);
}

/// The engine itself, band after band.
void EngineBands(const std::string& effect, int level, std::vector<std::pair<std::size_t, double>> fields,
                 const std::string& format, Planes out, Planes image, const std::vector<std::pair<int, int>>& bands) {
  const ParamObject params = Make(effect, {level, std::move(fields)});
  AVFrame to = FrameOf(FormatCode(format), out);
  AVFrame from = FrameOf(FormatCode(format), image);
  filter_check_format(effect.c_str(), kBgra);
  filter_video_frame(&to, &from, effect.c_str(), params.Get(), 0, 0, 0);
  for (const auto& [first, count] : bands) filter_video_frame(&to, &from, effect.c_str(), params.Get(), 0, first, count);
}

using Step = std::tuple<std::optional<std::string>, std::vector<double>, int, int>;

/// Name (none: enlarge), fields, percent of width and height of every entry.
std::vector<Step> GroupSteps(const std::string& group, int time) {
  FilterGroupParam* record = nullptr;
  // A record that is new in the last tenth would lack the blur of the time before it.
  GetFilterGroupParam(group.c_str(), std::min(time, 8999), &record);
  GetFilterGroupParam(group.c_str(), time, &record);
  const std::unique_ptr<FilterGroupParam, decltype(&ReleaseFilterGroupParam)> owner(record, ReleaseFilterGroupParam);
  std::vector<Step> steps;
  for (int i = 0; i < record->count; ++i) {
    const FilterGroupEntry& entry = record->entries[i];
    std::vector<double> fields;
    if (entry.name) {
      fields.resize((static_cast<std::size_t>(entry.size) - sizeof(FilterParams)) / sizeof(double));
      std::memcpy(fields.data(), reinterpret_cast<const std::byte*>(entry.params) + sizeof(FilterParams),
                  fields.size() * sizeof(double));
    }
    steps.emplace_back(entry.name ? std::optional<std::string>(entry.name) : std::nullopt, fields, entry.scaleX,
                       entry.scaleY);
  }
  return steps;
}

std::vector<double> FieldsAtLevel(const std::string& effect, int level) {
  const ParamObject params(effect.c_str(), level);
  std::vector<double> fields;
  for (std::size_t i = 0; i < params.FieldCount(); ++i) fields.push_back(params.Field(i));
  return fields;
}

}  // namespace

}  // namespace norix::test

PYBIND11_MODULE(norix_reference, module) {
  using namespace norix::test;

  module.def("render", &Reference, py::arg("effect"), py::arg("level"), py::arg("fields"), py::arg("format"),
             py::arg("out").noconvert(), py::arg("image").noconvert(), py::arg("seed") = 1, py::arg("first_row") = 0,
             py::arg("row_count") = -1);
  module.def("engine_bands", &EngineBands, py::arg("effect"), py::arg("level"), py::arg("fields"), py::arg("format"),
             py::arg("out").noconvert(), py::arg("image").noconvert(), py::arg("bands"));
  module.def("group_steps", &GroupSteps, py::arg("group"), py::arg("time"));
  module.def("fields_at_level", &FieldsAtLevel, py::arg("effect"), py::arg("level"));
}
