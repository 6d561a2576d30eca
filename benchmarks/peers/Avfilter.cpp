// Filters of libavfilter. A picture is timed from where it enters the graph to where it leaves it; it is writable, and
// copied anew before every picture while the clock stands.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/imgutils.h>
#include <libavutil/opt.h>
}

#include "Peer.h"
#include "Runs.h"
#include "media/PicturePool.h"

namespace norix::peers {

namespace {

/// A picture that stays the same for all pictures: a map or a mask.
struct Still {
  const char* label;
  host::FramePtr picture;
};
using Stills = std::vector<Still>;

struct Call {
  Description description;
  std::string graph;
  Stills (*stills)(const std::string& format) = nullptr;
};

struct Point {
  double x;
  double y;
};

/// Calls `value(place, plane)` for every sample, place being its distance from the middle in pixels of luma.
template <class Value>
void Draw(AVFrame& picture, Value value) {
  const AVPixFmtDescriptor& layout = *av_pix_fmt_desc_get(static_cast<AVPixelFormat>(picture.format));
  for (int c = 0; c < layout.nb_components; ++c) {
    const AVComponentDescriptor& component = layout.comp[c];
    const bool chroma = (layout.flags & AV_PIX_FMT_FLAG_RGB) == 0 && (c == 1 || c == 2);
    const int shiftX = chroma ? layout.log2_chroma_w : 0;
    const int shiftY = chroma ? layout.log2_chroma_h : 0;
    for (int y = 0; y < AV_CEIL_RSHIFT(picture.height, shiftY); ++y) {
      std::uint8_t* sample = picture.data[component.plane] +
                             static_cast<std::ptrdiff_t>(y) * picture.linesize[component.plane] + component.offset;
      for (int x = 0; x < AV_CEIL_RSHIFT(picture.width, shiftX); ++x, sample += component.step) {
        const Point place = {(x << shiftX) - picture.width / 2.0, (y << shiftY) - picture.height / 2.0};
        *sample = static_cast<std::uint8_t>(std::clamp(value(place), 0.0, 255.0));
      }
    }
  }
}

Still Drawn(const char* label, const std::string& format, double (*value)(Point place)) {
  host::FramePtr picture = host::NewPicture(av_get_pix_fmt(format.c_str()), kWidth, kHeight);
  Draw(*picture, value);
  return {label, std::move(picture)};
}

/// Where Swirl at 180 degrees fetches a pixel, x and y in shares of width and height from the middle.
Point Swirled(Point place) {
  const double rest = 1 - std::hypot(place.x, place.y);
  const double turn = -4 * rest * rest;
  return {place.x * std::cos(turn) - place.y * std::sin(turn), place.x * std::sin(turn) + place.y * std::cos(turn)};
}

Still SwirlMap(const char* label, bool rows) {
  host::FramePtr map = host::NewPicture(AV_PIX_FMT_GRAY16LE, kWidth, kHeight);
  for (int y = 0; y < kHeight; ++y) {
    auto* place = reinterpret_cast<std::uint16_t*>(map->data[0] + static_cast<std::ptrdiff_t>(y) * map->linesize[0]);
    for (int x = 0; x < kWidth; ++x) {
      const Point from = Swirled({static_cast<double>(x) / kWidth - 0.5, static_cast<double>(y) / kHeight - 0.5});
      const double column = std::clamp((from.x + 0.5) * kWidth + 1e-3, 0.0, kWidth - 1.0);
      const double row = std::clamp((from.y + 0.5) * kHeight + 1e-3, 0.0, kHeight - 1.0);
      place[x] = static_cast<std::uint16_t>(rows ? row : column);
    }
  }
  return {label, std::move(map)};
}

Stills SwirlMaps(const std::string& /*format*/) {
  Stills maps;
  maps.push_back(SwirlMap("mx", false));
  maps.push_back(SwirlMap("my", true));
  return maps;
}

// Offsets around 128, as the displace filter takes them.
double Wave(Point place) { return 8 * std::sin(std::hypot(place.x, place.y) * 0.07) / (std::hypot(place.x, place.y) + 1); }
double WaveX(Point place) { return 128.5 + place.x * Wave(place); }
double WaveY(Point place) { return 128.5 + place.y * Wave(place); }
double Noise(Point /*place*/) {
  static std::uint32_t random = 1;
  random = random * 1664525 + 1013904223;
  return 118 + (random >> 24) % 21;
}

template <double (*kX)(Point), double (*kY)(Point)>
Stills Offsets(const std::string& format) {
  Stills offsets;
  offsets.push_back(Drawn("dx", format, kX));
  offsets.push_back(Drawn("dy", format, kY));
  return offsets;
}

/// 255 where colour stays, fading over a ring.
double Focus(Point place) {
  constexpr double kHalfDiagonal = 1101;
  return 255 * (0.75 - std::hypot(place.x, place.y) / kHalfDiagonal) / 0.5;
}

Stills FocusMask(const std::string& format) {
  Stills masks;
  masks.push_back(Drawn("m", format, Focus));
  return masks;
}

/// Nine layers, every one a smaller middle scaled back to the whole, and their mean.
std::string ZoomGraph() {
  std::string graph = "[in]split=9[s0][s1][s2][s3][s4][s5][s6][s7][s8];[s0]null[z0];";
  std::string layers = "[z0]";
  for (int i = 1; i < 9; ++i) {
    const std::string n = std::to_string(i);
    const std::string size = std::to_string(kWidth - 38 * i) + ":" + std::to_string((kHeight - 22 * i) & ~1);
    graph += "[s" + n + "]crop=" + size + ",scale=1920:1080:flags=neighbor,setsar=1[z" + n + "];";
    layers += "[z" + n + "]";
  }
  return graph + layers + "mix=inputs=9[out]";
}

std::string SwirlExpression() {
  const std::string turn =
      "st(0,X/W-.5);st(1,Y/H-.5);st(2,1-hypot(ld(0),ld(1)));st(3,-4*ld(2)*ld(2));st(4,cos(ld(3)));st(5,sin(ld(3)));";
  const std::string from = "(W*(.5+ld(0)*ld(4)-ld(1)*ld(5)),H*(.5+ld(0)*ld(5)+ld(1)*ld(4)))";
  return "geq=lum='" + turn + "lum" + from + "':cb='" + turn + "cb" + from + "':cr='" + turn + "cr" + from +
         "':interpolation=nearest";
}

constexpr Upkeep kReady = Upkeep::kReady;
constexpr Upkeep kFresh = Upkeep::kFresh;

std::vector<Call> MakeCalls() {
  const std::string relief = "-2 -1 0 -1 2 1 0 1 2";  // with a factor of 1/2: half the relief over the picture itself
  const std::string pencil = "-1 0 -1 0 6 0 -1 0 -1";
  const std::string chroma = ":-1 -1 0 -1 4 1 0 1 1";
  const std::string halves = "0rdiv=0.5:1rdiv=0.5:2rdiv=0.5";
  const std::string nine = "1 1 1 1 1 1 1 1 1";
  const std::string gray = ".3:.59:.11:0:.3:.59:.11:0:.3:.59:.11";
  const std::string tiles =
      "[in]scale=640:360:flags=neighbor,split=9[a][b][c][d][e][f][g][h][i];[a][b][c][d][e][f][g][h][i]xstack=inputs=9:"
      "layout=0_0|640_0|1280_0|0_360|640_360|1280_360|0_720|640_720|1280_720[out]";
  const char* lens = "A lens's polynomial over the whole picture, through a table that was made once.";
  const char* projection = "A change of projection over the whole picture, through a map that was made once.";
  const char* pencilled =
      "Without the limited range, and half as strong: the factor of the kernel is not heeded by all versions.";
  const char* folded = "Same picture.";

  return {
      {{"Swirl", "gbrp rgb24 bgra", "remap", kReady, "Nearest pixel through two maps that were made once."},
       "[in][mx][my]remap[out]",
       SwirlMaps},
      {{"Swirl", "yuv420p", "geq", kFresh, "The same curve as a formula that is interpreted for every sample."},
       SwirlExpression()},
      {{"Pinch", "yuv420p gbrp", "v360 fisheye to flat, nearest", kReady, projection},
       "v360=input=fisheye:output=flat:ih_fov=140:iv_fov=100:h_fov=120:v_fov=80:interp=near:w=1920:h=1080"},
      {{"Pinch", "yuv420p gbrp", "lenscorrection nearest", kReady, lens}, "lenscorrection=k1=0.3:k2=0.1:i=nearest"},
      {{"Bulge", "yuv420p gbrp", "v360 flat to fisheye, nearest", kReady, projection},
       "v360=input=flat:output=fisheye:ih_fov=140:iv_fov=120:h_fov=120:v_fov=80:interp=near:w=1920:h=1080"},
      {{"Bulge", "yuv420p gbrp", "lenscorrection nearest", kReady, lens}, "lenscorrection=k1=-0.3:k2=-0.1:i=nearest"},
      {{"Ripple", "yuv420p gbrp rgb24 bgra", "displace", kReady,
        "Moves every sample by offsets from two pictures that were made once."},
       "[in][dx][dy]displace=edge=smear[out]",
       Offsets<WaveX, WaveY>},
      {{"Vignette", "yuv420p rgb24", "vignette without dither", kReady,
        "The fourth power of a cosine as the mask, made once."},
       "vignette=dither=0"},
      {{"Vignette", "yuv420p rgb24", "vignette without dither, eval=frame", kFresh,
        "The fourth power of a cosine as the mask, made for every picture."},
       "vignette=dither=0:eval=frame"},
      {{"Zoom Blur", "yuv420p bgra", "nine crops scaled by neighbor, mix", kReady,
        "The mean of nine layers of equal weight, all inward, with sizes that stay."},
       ZoomGraph()},
      {{"Motion Blur", "yuv420p gbrp", "convolution of a row", kFresh,
        "Nine equal taps one pixel apart and level, so the smear is a quarter as long."},
       "convolution=0m='" + nine + "':0mode=row:1m='" + nine + "':1mode=row:2m='" + nine +
           "':2mode=row:0rdiv=1/9:1rdiv=1/9:2rdiv=1/9"},
      {{"Motion Blur", "yuv420p bgra", "boxblur of rows", kFresh,
        "The mean of all 33 pixels of a level line by running sums, chroma as wide as luma."},
       "boxblur=lr=16:lp=1:cr=16:cp=1:ar=0:ap=0"},
      {{"Motion Blur", "yuv420p", "dblur at 36 degrees", kFresh, "A recursive filter on floats along the direction."},
       "dblur=angle=36:radius=4"},
      {{"Ground Glass", "yuv420p gbrp rgb24 bgra", "displace, ready noise", kReady,
        "Every sample moves by itself, by random offsets that were drawn once and stay."},
       "[in][dx][dy]displace=edge=smear[out]",
       Offsets<Noise, Noise>},
      {{"Emboss", "yuv420p", "convolution", kFresh, "The same kernels, without the limited range at the end."},
       "convolution=" + relief + chroma + chroma + ":0rdiv=0.5:1rdiv=0.25:2rdiv=0.25"},
      {{"Emboss", "gbrp", "convolution", kFresh, "The same kernel on planes."},
       "convolution=" + relief + ":" + relief + ":" + relief + ":" + halves},
      {{"Emboss", "bgra", "format gbrp, convolution, format bgra", kFresh,
        "The same kernel on planes, between two conversions; alpha is lost."},
       "format=gbrp,convolution=" + relief + ":" + relief + ":" + relief + ":" + halves},
      {{"Sketch", "yuv420p", "convolution, hue without saturation", kFresh, pencilled},
       "convolution=" + pencil + ":0rdiv=1,hue=s=0"},
      {{"Sketch", "bgra", "format gray, convolution, format bgra", kFresh,
        "Half as strong, neighbours on both sides, and no fade from the colours to the drawing."},
       "format=gray,convolution=" + pencil + ":0rdiv=1"},
      {{"Comicbook", "gbrp", "geq", kFresh, "The same formula on planes, interpreted for every sample."},
       "geq=b='abs(2*b(X,Y)-g(X,Y)+r(X,Y))*g(X,Y)/256':g='abs(2*b(X,Y)-g(X,Y)+r(X,Y))*r(X,Y)/256':"
       "r='abs(r(X,Y)-b(X,Y)+2*g(X,Y))*r(X,Y)/256'"},
      {{"Comicbook", "bgra rgb24", "lutrgb", kReady,
        "One table for every colour: bounds what one pass costs, without mixing the colours."},
       "lutrgb=r=negval:g=val*val/256:b=val"},
      {{"Focus Color", "yuv420p", "hue without saturation, maskedmerge", kReady,
        "Fades between colour and gray by a mask that was drawn once."},
       "[in]split[a][b];[b]hue=s=0[g];[g][a][m]maskedmerge[out]",
       FocusMask},
      {{"Focus Color", "gbrp", "colorchannelmixer, maskedmerge", kReady,
        "Fades between colour and gray by a mask that was drawn once, on planes."},
       "[in]split[a][b];[b]colorchannelmixer=" + gray + "[g];[g][a][m]maskedmerge[out]",
       FocusMask},
      {{"Mirror Move X", "yuv420p", "crop, pad, fillborders mirror", kFresh, folded},
       "crop=960:1080:0:0,pad=1920:1080:960:0,fillborders=left=960:mode=mirror"},
      {{"Mirror Move X", "yuv420p rgb24 bgra", "crop, hflip, hstack", kFresh, folded},
       "[in]crop=960:1080:0:0,split[a][b];[a]hflip[c];[c][b]hstack[out]"},
      {{"Mirror Move Y", "yuv420p", "crop, pad, fillborders mirror", kFresh, folded},
       "crop=1920:540:0:0,pad=1920:1080:0:540,fillborders=top=540:mode=mirror"},
      {{"Mirror Move Y", "yuv420p rgb24 bgra", "crop, vflip, vstack", kFresh, folded},
       "[in]crop=1920:540:0:0,split[a][b];[a]vflip[c];[c][b]vstack[out]"},
      {{"Tile Scale", "yuv420p rgb24 bgra", "scale neighbor to a third, xstack", kReady,
        "Whole tiles only, the first one in the corner, of a size that stays."},
       tiles},
  };
}

void Require(int code, const char* what) {
  if (code < 0) throw std::runtime_error(std::string(what) + ": " + host::ErrorText(code));
}

/// A graph of filters on one thread.
class Graph {
public:
  Graph(const Call& call, const AVFrame& sample, const Stills& stills) : graph_(avfilter_graph_alloc()) {
    host::OrBadAlloc(graph_.get());
    graph_->nb_threads = 1;
    in_ = source("in", sample);
    out_ = filter("buffersink", "out", nullptr);
    // The way back to the picture's own format, where a filter does not take it, is part of the work.
    const auto* format = reinterpret_cast<const std::uint8_t*>(&sample.format);
    Require(av_opt_set_bin(out_, "pix_fmts", format, sizeof(sample.format), AV_OPT_SEARCH_CHILDREN), "the format");

    AVFilterInOut* open = end("out", out_, nullptr);
    AVFilterInOut* given = nullptr;
    std::vector<AVFilterContext*> sources;
    for (const Still& still : stills) {
      sources.push_back(source(still.label, *still.picture));
      given = end(still.label, sources.back(), given);
    }
    given = end("in", in_, given);
    const int parsed = avfilter_graph_parse_ptr(graph_.get(), call.graph.c_str(), &open, &given, nullptr);
    avfilter_inout_free(&open);
    avfilter_inout_free(&given);
    Require(parsed, "the graph is not understood");
    Require(avfilter_graph_config(graph_.get(), nullptr), "the graph cannot be built");
    for (std::size_t i = 0; i < stills.size(); ++i) feed(sources[i], *stills[i].picture);
  }

  /// True when pixels are converted on their way because a filter does not take them.
  bool converts() const {
    for (unsigned i = 0; i < graph_->nb_filters; ++i) {
      if (std::string(graph_->filters[i]->name).starts_with("auto_scale")) return true;
    }
    return false;
  }

  /// Takes over the frame's picture.
  host::FramePtr filtered(AVFrame& frame) {
    Require(av_buffersrc_add_frame(in_, &frame), "the graph takes no picture");
    host::FramePtr picture = host::NewFrame();
    Require(av_buffersink_get_frame(out_, picture.get()), "the graph gives no picture");
    return picture;
  }

private:
  struct Free {
    void operator()(AVFilterGraph* graph) const { avfilter_graph_free(&graph); }
  };

  AVFilterContext* filter(const char* kind, const char* name, const char* arguments) {
    AVFilterContext* context = nullptr;
    Require(avfilter_graph_create_filter(&context, avfilter_get_by_name(kind), name, arguments, nullptr, graph_.get()),
            name);
    return context;
  }

  AVFilterContext* source(const char* name, const AVFrame& sample) {
    const std::string arguments = "video_size=" + std::to_string(sample.width) + "x" + std::to_string(sample.height) +
                                  ":pix_fmt=" + std::to_string(sample.format) +
                                  ":time_base=1/25:frame_rate=25/1:pixel_aspect=1/1";
    return filter("buffer", name, arguments.c_str());
  }

  static AVFilterInOut* end(const char* label, AVFilterContext* context, AVFilterInOut* next) {
    AVFilterInOut* end = host::OrBadAlloc(avfilter_inout_alloc());
    end->name = av_strdup(label);
    end->filter_ctx = context;
    end->next = next;
    return end;
  }

  /// The only picture of that source: filters go on with the last one.
  static void feed(AVFilterContext* source, const AVFrame& picture) {
    const host::FramePtr frame(host::OrBadAlloc(av_frame_clone(&picture)));
    frame->pts = 0;
    Require(av_buffersrc_add_frame(source, frame.get()), "the graph takes no map");
    Require(av_buffersrc_close(source, 1, 0), "the graph does not end a map");
  }

  std::unique_ptr<AVFilterGraph, Free> graph_;
  AVFilterContext* in_;
  AVFilterContext* out_;
};

void Time(benchmark::State& state, const Call& call, const std::string& format) {
  const host::FramePtr footage = FootageIn(format);
  const Stills stills = call.stills ? call.stills(format) : Stills();
  Graph graph(call, *footage, stills);
  if (graph.converts()) state.SetLabel("converts pixels on the way");

  host::PicturePool pool;
  std::int64_t pts = 0;
  const auto next = [&] {
    host::FramePtr frame = pool.picture(static_cast<AVPixelFormat>(footage->format), kWidth, kHeight);
    Require(av_frame_copy(frame.get(), footage.get()), "the footage cannot be copied");
    frame->sample_aspect_ratio = {1, 1};
    frame->pts = pts++;
    return frame;
  };
  RequireEffect(*footage, *graph.filtered(*next()));
  for (auto iteration : state) {
    const host::FramePtr frame = next();
    const auto start = std::chrono::steady_clock::now();
    const host::FramePtr picture = graph.filtered(*frame);
    const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - start;
    state.SetIterationTime(spent.count());
  }
  bench::SetCounters(state, *footage);
}

}  // namespace

void AddAvfilter() {
  static const std::vector<Call> kCalls = MakeCalls();
  for (const Call& call : kCalls) {
    AddRows("libavfilter", call.description, Clock::kManual,
            [&call](benchmark::State& state, const std::string& format) { Time(state, call, format); });
  }
}

}  // namespace norix::peers
