// The entry points that hosts call for single-frame effects.

#include <NorixEngine/NorixEngine.h>

#include <cstring>

#include "main/EffectTable.h"

namespace {

constexpr int kUnknown = -1;

constexpr auto EffectNames() {
  std::array<const char*, norix::kEffectTable.size() + 1> names = {};
  for (std::size_t i = 0; i < norix::kEffectTable.size(); ++i) names[i] = norix::kEffectTable[i].name;
  return names;
}

const norix::EffectRow* FindEffect(const char* name) {
  for (const norix::EffectRow& row : norix::kEffectTable) {
    if (std::strcmp(name, row.name) == 0) return &row;
  }
  return nullptr;
}

}  // namespace

constinit std::array<const char*, norix::kEffectTable.size() + 1> g_effects = EffectNames();

const char** NorixGetInfo(void) { return g_effects.data(); }

int filter_check_format(const char* name, int proposedFormat) {
  const norix::EffectRow* effect = FindEffect(name);
  return effect ? effect->answerFormat(proposedFormat) : kUnknown;
}

int filter_video_frame(AVFrame* dst, AVFrame* src, const char* name, FilterParams* params, int64_t /*unused*/, int firstRow,
                       int rowCount) {
  const norix::EffectRow* effect = FindEffect(name);
  if (!effect || !effect->render) return kUnknown;
  effect->render(dst, src, params, firstRow, rowCount);
  return 0;
}
