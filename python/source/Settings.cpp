#include "Settings.h"

#include <stdexcept>

#include "engine/Catalogue.h"

namespace norix::python {

namespace {

ParamsPtr AtLevel(const std::string& effect, int level, ParamsPtr held) {
  FilterParams* params = held.release();
  int size = 0;
  GetParamBuffer(effect.c_str(), level, &params, &size);
  return ParamsPtr(params);
}

}  // namespace

ParamsPtr MakeParams(const std::string& effect, const std::vector<double>& values) {
  const std::vector<host::Field>& fields = host::FindEffect(effect).fields;
  if (fields.size() != values.size()) throw std::invalid_argument("another number of values than the effect has fields");
  ParamsPtr params = AtLevel(effect, 0, nullptr);
  for (std::size_t i = 0; i < fields.size(); ++i) fields[i].in(*params) = values[i];
  return params;
}

std::vector<double> ValuesOf(const std::string& effect, FilterParams& params) {
  std::vector<double> values;
  for (const host::Field& field : host::FindEffect(effect).fields) values.push_back(field.in(params));
  return values;
}

std::vector<double> ValuesAtLevel(const std::string& effect, int level, const std::vector<double>& values) {
  ParamsPtr params = values.empty() ? nullptr : MakeParams(effect, values);
  params = AtLevel(effect, level, std::move(params));
  return params ? ValuesOf(effect, *params) : std::vector<double>();
}

}  // namespace norix::python
