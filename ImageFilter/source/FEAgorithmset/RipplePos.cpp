#include <NorixEngine/FEAgorithmset.h>

#include <cmath>

void FEAgorithmSet::RipplePos(POINTF& out, POINTF point, POINTF center, float radius, float wavelength, float amplitude,
                              float phase) {
  const float dx = point.x - center.x;
  const float dy = point.y - center.y;
  const float squared = dx * dx + dy * dy;
  // The centre has no direction to move in: it stays, as everything beyond the rings does.
  if (squared > radius * radius || squared == 0.0F) {
    out = point;
    return;
  }
  const float d = std::sqrt(squared);
  const auto wave =
      static_cast<float>(std::sin(static_cast<double>(2.0F * d) * 3.141592653589793 / static_cast<double>(wavelength) -
                                  static_cast<double>(phase)) *
                         static_cast<double>(amplitude));
  float k = (radius - d) / radius * wave;
  if (std::fabs(static_cast<double>(d) - 1.0) > 1e-5) k *= wavelength / d;
  out.x = dx * k + point.x;
  out.y = dy * k + point.y;
}
