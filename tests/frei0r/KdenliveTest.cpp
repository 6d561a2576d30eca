// What Kdenlive is told of the filters.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>

#include "frei0r/PluginCases.h"
#include "host/MediaTools.h"

namespace norix::test {

namespace {

TEST(KdenliveTest, EveryFilterIsDescribed) {
  std::set<std::string> expected;
  for (const FilterCase& filter : FilterCases()) expected.insert("frei0r_" + filter.file + ".xml");
  for (const std::string& group : GroupNames()) expected.insert("frei0r_" + FileOf(group) + ".xml");
  std::set<std::string> found;
  for (const auto& entry : std::filesystem::directory_iterator(NORIX_KDENLIVE_FOLDER))
    found.insert(entry.path().filename());
  EXPECT_EQ(found, expected);
}

TEST(KdenliveTest, SlidersHaveTheFiltersNamesAndStandards) {
  EXPECT_EQ(Content(std::string(NORIX_KDENLIVE_FOLDER) + "/frei0r_norix_vignette.xml"), R"(<?xml version="1.0"?>
<effect tag="frei0r.norix_vignette" id="frei0r.norix_vignette">
    <name>Norix Vignette</name>
    <description>darkens the picture towards its edges</description>
    <author>NorixEngine</author>
    <parameter type="animated" name="Level" default="0.5" min="0" max="100" factor="100" suffix="%" decimals="1">
        <name>Level</name>
        <comment>darkness of the edges: 0 hardly any, 0.5 dark corners, 1 black</comment>
    </parameter>
    <parameter type="animated" name="Center X" default="0.5" min="0" max="100" factor="100" suffix="%" decimals="1">
        <name>Center X</name>
        <comment>centre of the effect: 0 left edge, 0.5 middle, 1 right edge</comment>
    </parameter>
    <parameter type="animated" name="Center Y" default="0.5" min="0" max="100" factor="100" suffix="%" decimals="1">
        <name>Center Y</name>
        <comment>centre of the effect: 0 top edge, 0.5 middle, 1 bottom edge</comment>
    </parameter>
    <parameter type="bool" name="Manual" default="0" min="0" max="1">
        <name>Manual</name>
        <comment>on: the radii below count, off: the level sets them</comment>
    </parameter>
    <parameter type="animated" name="Inner Radius" default="0.15" min="0" max="100" factor="100" suffix="%" decimals="1">
        <name>Inner Radius</name>
        <comment>where the darkening begins, with Manual on: 0 centre, 0.5 one picture width and height, 1 two</comment>
    </parameter>
    <parameter type="animated" name="Outer Radius" default="0.375" min="0" max="100" factor="100" suffix="%" decimals="1">
        <name>Outer Radius</name>
        <comment>where black begins, with Manual on: 0 centre, 0.5 one picture width and height, 1 two</comment>
    </parameter>
</effect>
)");
}

}  // namespace

}  // namespace norix::test
