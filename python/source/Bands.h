#pragma once

// A picture cut into bands of rows, on several threads at the same time.

#include <functional>
#include <vector>

#include "Frames.h"

namespace norix::python {

/// At most `threads` bands that begin at even rows, fewer when the picture is too small to be worth a thread each.
std::vector<Rows> CutIntoBands(int width, int height, int threads);

/// Does the work for every band, one of them on the calling thread, and returns when all is done. Throws what the first
/// failing band threw.
void RunBands(const std::vector<Rows>& bands, const std::function<void(Rows)>& work);

}  // namespace norix::python
