#pragma once

// How a host uses the engine: names, formats, parameter objects, bands. Everything that calls it is in Effect.cpp.

#include <NorixEngine/FEParams.h>

#include <array>
#include <memory>
#include <string>
#include <utility>
#include <vector>

extern "C" {
#include <libavutil/frame.h>
}

namespace norix::host {

/// Levels run from weakest to strongest.
inline constexpr int kLowestLevel = 0;
inline constexpr int kHighestLevel = 10000;

/// The pixel formats that the engine may ask for.
inline constexpr std::array kEngineFormats = {AV_PIX_FMT_YUV420P, AV_PIX_FMT_RGB24, AV_PIX_FMT_BGRA};

/// A field of a parameter class and the value to write into it.
struct FieldValue {
  std::string field;
  double value;
};

/// True when the engine's pixel-format codes are those of the libavutil this program uses.
bool EngineSharesPixelFormats();

/// True when the engine has a picture for this effect; "Stretch" is listed without one.
bool Renders(const std::string& effect);

/// The pixel format the engine wants for this effect when pictures come in `proposed`.
AVPixelFormat NegotiateFormat(const std::string& effect, AVPixelFormat proposed);

/// Rows `first` .. `first + count - 1` of a picture.
struct Rows {
  int first;
  int count;
};

/// One effect with its settings. Each thread that renders uses a copy of its own: parameter objects are not for sharing
/// while their level changes.
class Effect {
public:
  /// `fields` are written after every change of the level, so they win over what the level sets.
  Effect(std::string name, std::vector<FieldValue> fields);
  Effect(const Effect& other);
  Effect(Effect&&) noexcept = default;
  Effect& operator=(const Effect&) = delete;
  Effect& operator=(Effect&&) = delete;
  ~Effect() = default;

  const std::string& name() const { return name_; }

  void setLevel(int level);

  /// Renders one band. Both frames have the negotiated format and the same size. Several threads may render bands of one
  /// picture at the same time, once the band at row 0 has been rendered.
  void render(AVFrame& destination, AVFrame& source, Rows rows) const;

private:
  struct Release {
    void operator()(FilterParams* params) const { ReleaseParamBuffer(params); }
  };

  std::string name_;
  std::vector<FieldValue> fields_;
  std::unique_ptr<FilterParams, Release> params_;  // null for effects without settings
};

}  // namespace norix::host
