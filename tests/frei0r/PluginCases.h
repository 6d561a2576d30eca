#ifndef NORIX_TESTS_FREI0R_PLUGINCASES_H
#define NORIX_TESTS_FREI0R_PLUGINCASES_H

#include <iosfwd>
#include <string>
#include <vector>

#include "host/EngineFrames.h"

namespace norix::test {

/** A filter with the values of all its parameters, and what they mean to the engine. */
struct FilterCase {
  std::string file; /**< without folder and .so */
  std::string effect;
  bool bgra = false;          /**< the effect tells red from blue */
  std::vector<double> values; /**< by index, 0 to 1 */
  int level = 0;
  Change change{}; /**< the fields that the values stand for */
};

void PrintTo(const FilterCase& filter, std::ostream* out);

/** Every effect at least once. */
const std::vector<FilterCase>& FilterCases();

/** What the engine makes of rgba frames as the filter should hand them to it. */
Clip Expected(const FilterCase& filter, const Clip& clip);

/** What the engine makes of an rgba frame with a group at a moment, in a clip of that form. */
std::string ExpectedOfGroup(const std::string& group, int time, const Clip& form, const std::string& frame);

/** The names of a plug-in's parameters, as they are pinned. */
std::vector<std::string> ParameterNames(const std::string& file);

/** The display names of all groups. */
const std::vector<std::string>& GroupNames();

/** "Flip Roll Up" as "norix_flip_roll_up". */
std::string FileOf(const std::string& name);

/** The path of a plug-in. */
std::string PluginPath(const std::string& file);

}  // namespace norix::test

#endif
