#pragma once

// What users are told about effects and groups, and the fields of parameter objects by name.

#include <NorixEngine/FEParams.h>

#include <string>
#include <vector>

namespace norix::host {

/// A number in a parameter object that users may set.
struct Field {
  std::string name;
  std::string meaning;  ///< what it does, unit and usual range
  double standard;      ///< value in a new object
  double& (*in)(FilterParams& params);
};

struct EffectInfo {
  std::string name;
  std::string summary;  ///< what it looks like
  std::string level;    ///< what the level sets
  std::vector<Field> fields;
  bool drawsRandomNumbers = false;  ///< from the process-wide sequence: frames must be rendered in order
  bool leavesBytes = false;         ///< some of the destination may stay unwritten: alpha, a last row, all of it
  bool needsPackedPixels = false;   ///< takes YUV 4:2:0 pictures and does nothing to them
};

struct GroupInfo {
  std::string name;
  std::string summary;
};

/// All effects, in the engine's order.
const std::vector<EffectInfo>& Effects();

/// All groups, in the engine's order.
const std::vector<GroupInfo>& Groups();

/// The effect of that name. Otherwise fails and names the nearest one.
const EffectInfo& FindEffect(const std::string& name);

/// The group of that name. Otherwise fails and names the nearest one.
const GroupInfo& FindGroup(const std::string& name);

/// That field of an effect. Otherwise fails and names the fields there are.
const Field& FindField(const EffectInfo& effect, const std::string& name);

/// That field in a parameter object of that effect.
double& FieldOf(FilterParams& params, const std::string& effect, const std::string& field);

}  // namespace norix::host
