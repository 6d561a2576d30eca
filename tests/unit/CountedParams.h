#pragma once

#include <NorixEngine/FEParams.h>

namespace norix::test {

/// A parameter object that counts its own deletions, as a host could derive one.
struct CountedParams final : FilterParams {
  int& deletions;
  CountedParams(const char* displayName, int& counter) : FilterParams(displayName), deletions(counter) {}
  ~CountedParams() override { ++deletions; }
  FilterParams* Clone() const override { return new CountedParams(name, deletions); }
};

}  // namespace norix::test
