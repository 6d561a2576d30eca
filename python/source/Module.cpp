// The compiled part of the package norixengine. Users call the Python part, which checks what they pass.

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include "Bands.h"
#include "GroupEntries.h"
#include "Render.h"
#include "Traits.h"
#include "common/Enlargement.h"
#include "engine/Catalogue.h"
#include "engine/InstructionSet.h"

namespace py = pybind11;

namespace norix::python {

namespace {

using Planes = std::vector<py::array>;

/// The two frames of a call.
struct Frames {
  Frames(const std::string& formatName, const Planes& out, const Planes& image)
      : format(FormatNamed(formatName)), destination(FrameOf(format, out, true)), source(FrameOf(format, image, false)) {
    if (destination.width != source.width || destination.height != source.height) {
      throw std::invalid_argument("the pictures differ in size");
    }
  }

  const PixelFormat& format;
  AVFrame destination;
  AVFrame source;
};

void Render(const std::string& effect, const std::vector<double>& values, const std::string& format, const Planes& out,
            const Planes& image, int threads, unsigned seed) {
  Frames frames(format, out, image);
  const py::gil_scoped_release released;
  RenderEffect({effect, values, threads, seed}, frames.format, frames.destination, frames.source);
}

void Enlarge(int percentX, int percentY, const std::string& format, const Planes& out, const Planes& image, int threads) {
  const Frames frames(format, out, image);
  const py::gil_scoped_release released;
  const AVFrame& from = frames.source;
  for (int plane = 0; plane < frames.format.planes; ++plane) {
    const int bytes = plane == 0 ? frames.format.bytesPerPixel : 1;
    const int height = InPlane({0, from.height}, plane).count;
    const int width = static_cast<int>(RowBytes(frames.format, from.width, plane)) / bytes;
    const Enlargement enlargement(width, height, percentX, percentY);
    RunBands(CutIntoBands(width, height, threads), [&](Rows rows) {
      enlargement.Render(from.data[plane], from.linesize[plane], frames.destination.data[plane],
                         frames.destination.linesize[plane], bytes, rows.first, rows.count);
    });
  }
}

/// Name, summary, what the level sets, and name and meaning of every field. Effects that have a picture.
py::list DescribeEffects() {
  py::list effects;
  for (const host::EffectInfo& effect : host::Effects()) {
    const Traits* traits = TraitsOf(effect.name);
    if (!traits) continue;
    py::list fields;
    for (const host::Field& field : effect.fields) fields.append(py::make_tuple(field.name, field.meaning));
    effects.append(py::make_tuple(effect.name, effect.summary, effect.level, fields, effect.needsPackedPixels, traits->cut,
                                  traits->because));
  }
  return effects;
}

py::list DescribeGroups() {
  py::list groups;
  for (const host::GroupInfo& group : host::Groups()) groups.append(py::make_tuple(group.name, group.summary));
  return groups;
}

py::list GroupEntriesAt(const std::string& group, int time) {
  py::list entries;
  for (const GroupEntry& entry : EntriesOf(group, time)) {
    entries.append(py::make_tuple(entry.effect, entry.values, entry.percentX, entry.percentY));
  }
  return entries;
}

}  // namespace

}  // namespace norix::python

PYBIND11_MODULE(_engine, module) {
  using namespace norix::python;

  if (filter_check_format("Swirl", -1) != AV_PIX_FMT_BGRA) {
    throw py::import_error("libNorixEngine counts pixel formats otherwise than norixengine; build both from one source");
  }
  PrepareEffects();

  module.attr("version") = NORIX_VERSION;
  module.attr("instruction_set") = norix::host::BestInstructionSet();
  module.def("effects", &DescribeEffects);
  module.def("groups", &DescribeGroups);
  module.def("values_at_level", &ValuesAtLevel, py::arg("effect"), py::arg("level"), py::arg("values"));
  module.def("group_entries", &GroupEntriesAt, py::arg("group"), py::arg("time"));
  module.def("render", &Render, py::arg("effect"), py::arg("values"), py::arg("format"), py::arg("out"), py::arg("image"),
             py::arg("threads"), py::arg("seed"));
  module.def("enlarge", &Enlarge, py::arg("percent_x"), py::arg("percent_y"), py::arg("format"), py::arg("out"),
             py::arg("image"), py::arg("threads"));
}
