#pragma once

#include <NorixEngine/FEParams.h>

namespace norix {

/// `offsetTable` has a row of wave positions for each distance step, both counted to 1024.
inline constexpr int kRippleSteps = 1024;
inline constexpr int kRippleEntries = kRippleSteps * kRippleSteps;

}  // namespace norix

/// Fills `offsetTable` for the object's damping and amplitude; allocates it first when there is none. Null: does nothing.
void InitRippleTable1(RippleParams* params);

/// Makes a new `weightTable` for pictures whose larger side is `size`. The caller sets `weightCount`. Null: does nothing.
void InitRippleTable2(RippleParams* params, int size);
