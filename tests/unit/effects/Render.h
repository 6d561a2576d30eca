#ifndef NORIX_TESTS_UNIT_EFFECTS_RENDER_H
#define NORIX_TESTS_UNIT_EFFECTS_RENDER_H

#include <NorixEngine/FEParams.h>
#include <NorixEngine/NorixEngine.h>
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "support/Picture.h"

namespace norix::test {

struct ReleaseParams {
  void operator()(FilterParams* params) const { params->Release(); }
};

/** Holds what `new SwirlParams` and the like make. */
template <typename Params>
using Owned = std::unique_ptr<Params, ReleaseParams>;

inline void Render(const char* name, Picture& dst, Picture& src, FilterParams* params, int firstRow, int rowCount) {
  EXPECT_EQ(filter_video_frame(dst.Frame(), src.Frame(), name, params, 0, firstRow, rowCount), 0);
}

inline void RenderAll(const char* name, Picture& dst, Picture& src, FilterParams* params) {
  Render(name, dst, src, params, 0, src.Shape().height);
}

/** Puts rows of one plane where they are expected, `bytes` of each, padding included. */
inline void CopyRows(Picture& dst, const Picture& src, int plane, int firstRow, int endRow, int bytes) {
  for (int row = firstRow; row < endRow; ++row)
    for (int column = 0; column < bytes; ++column) dst.At(plane, row, column) = src.At(plane, row, column);
}

}  // namespace norix::test

#endif
