// What all parameter objects share: counting references and carrying the effect's name.

#include <NorixEngine/FEParams.h>

FilterParams::FilterParams(const char* displayName) : refCount(1), name(displayName) {}

FilterParams::~FilterParams() = default;

void FilterParams::AddRef() { ++refCount; }

int FilterParams::Release() {
  const int left = --refCount;
  if (left <= 0) delete this;
  return left;
}

const char* FilterParams::GetFilterName() const { return name; }
