#pragma once

namespace norix {

/// A new Params with the listed fields of `from`. The name and the reference count are a new object's own.
template <class Params, class... Fields>
Params* CopyFields(const Params& from, Fields Params::*... fields) {
  auto* copy = new Params;
  ((copy->*fields = from.*fields), ...);
  return copy;
}

}  // namespace norix
