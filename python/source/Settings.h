#pragma once

// Parameter objects of the engine, made from and read into plain numbers: one for every field, in the catalogue's order.

#include <NorixEngine/FEParams.h>

#include <memory>
#include <string>
#include <vector>

namespace norix::python {

struct ReleaseParams {
  void operator()(FilterParams* params) const { ReleaseParamBuffer(params); }
};

/// Null for effects without settings.
using ParamsPtr = std::unique_ptr<FilterParams, ReleaseParams>;

/// An object with these field values. Every picture gets an object of its own, since "Ripple" keeps in it tables that
/// follow the fields only in whole numbers: pictures would depend on what was rendered before.
ParamsPtr MakeParams(const std::string& effect, const std::vector<double>& values);

/// The fields of an object of that effect.
std::vector<double> ValuesOf(const std::string& effect, FilterParams& params);

/// `values` with those replaced that the level sets; values of a new object when there are none.
std::vector<double> ValuesAtLevel(const std::string& effect, int level, const std::vector<double>& values);

}  // namespace norix::python
