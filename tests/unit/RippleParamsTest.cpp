// RippleParams owns two tables.

#include <NorixEngine/FEParams.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <new>
#include <numeric>

namespace {

std::int32_t* NewTable(std::int32_t count, std::int32_t first) {
  auto* table = new std::int32_t[static_cast<std::size_t>(count)];
  std::iota(table, table + count, first);
  return table;
}

TEST(RippleParams, StartsWithoutTables) {
  auto* params = new RippleParams;
  EXPECT_EQ(params->tables, &params->ownTables);
  EXPECT_EQ(params->ownTables.offsetTable, nullptr);
  EXPECT_EQ(params->ownTables.offsetCount, 0);
  EXPECT_EQ(params->ownTables.weightTable, nullptr);
  EXPECT_EQ(params->ownTables.weightCount, 0);
  EXPECT_EQ(params->ownTables.tableDamping, 0);
  EXPECT_EQ(params->ownTables.tableAmplitude, 0);
  params->Release();
}

TEST(RippleParams, HasItsTableBlockBehindTheNumbers) {
  auto* params = new RippleParams;
  const auto at = [base = reinterpret_cast<const char*>(params)](const auto& member) {
    return reinterpret_cast<const char*>(&member) - base;
  };
  EXPECT_EQ(at(params->ownTables.offsetTable), 72);
  EXPECT_EQ(at(params->ownTables.offsetCount), 80);
  EXPECT_EQ(at(params->ownTables.weightTable), 88);
  EXPECT_EQ(at(params->ownTables.weightCount), 96);
  EXPECT_EQ(at(params->ownTables.tableDamping), 100);
  EXPECT_EQ(at(params->ownTables.tableAmplitude), 104);
  EXPECT_EQ(at(params->tables), 112);
  params->Release();
}

// The sanitizer build finds a table that is not freed, or freed twice.
TEST(RippleParams, FreesItsTables) {
  auto* both = new RippleParams;
  both->tables->offsetTable = NewTable(5, 0);
  both->tables->weightTable = NewTable(7, 0);
  both->Release();
  auto* one = new RippleParams;
  one->tables->weightTable = NewTable(7, 0);
  one->Release();
}

TEST(RippleParams, ClonesFilledTables) {
  auto* params = new RippleParams;
  params->tables->offsetTable = NewTable(5, 100);
  params->tables->offsetCount = 5;
  params->tables->weightTable = NewTable(3, -2);
  params->tables->weightCount = 3;
  params->tables->tableDamping = 90;
  params->tables->tableAmplitude = 20;

  auto* clone = dynamic_cast<RippleParams*>(params->Clone());
  ASSERT_NE(clone, nullptr);
  EXPECT_EQ(clone->tables, &clone->ownTables);
  EXPECT_EQ(params->tables, &params->ownTables);
  EXPECT_NE(clone->ownTables.offsetTable, params->ownTables.offsetTable);
  EXPECT_NE(clone->ownTables.weightTable, params->ownTables.weightTable);
  EXPECT_EQ(clone->ownTables.offsetCount, 5);
  EXPECT_EQ(clone->ownTables.weightCount, 3);
  EXPECT_EQ(clone->ownTables.tableDamping, 90);
  EXPECT_EQ(clone->ownTables.tableAmplitude, 20);

  // The copy is whole once the original is gone, and a change of one does not reach the other.
  params->tables->offsetTable[0] = 1;
  params->Release();
  ASSERT_NE(clone->ownTables.offsetTable, nullptr);
  ASSERT_NE(clone->ownTables.weightTable, nullptr);
  for (int i = 0; i < 5; ++i) EXPECT_EQ(clone->ownTables.offsetTable[i], 100 + i);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(clone->ownTables.weightTable[i], -2 + i);
  clone->Release();
}

TEST(RippleParams, ClonesOneTableWithoutTheOther) {
  auto* params = new RippleParams;
  params->tables->weightTable = NewTable(3, 40);
  params->tables->weightCount = 3;
  auto* clone = dynamic_cast<RippleParams*>(params->Clone());
  ASSERT_NE(clone, nullptr);
  EXPECT_EQ(clone->ownTables.offsetTable, nullptr);
  ASSERT_NE(clone->ownTables.weightTable, nullptr);
  EXPECT_NE(clone->ownTables.weightTable, params->ownTables.weightTable);
  EXPECT_EQ(clone->ownTables.weightTable[2], 42);
  clone->Release();
  params->Release();
}

TEST(RippleParams, CloneOfNullTablesKeepsThemNullAndPointsIntoItself) {
  auto* params = new RippleParams;
  params->tables->offsetCount = 12;  // counts and keys are copied also when there is no table
  params->tables->weightCount = 34;
  params->tables->tableDamping = 56;
  params->tables->tableAmplitude = 78;
  auto* clone = dynamic_cast<RippleParams*>(params->Clone());
  ASSERT_NE(clone, nullptr);
  EXPECT_EQ(clone->ownTables.offsetTable, nullptr);
  EXPECT_EQ(clone->ownTables.weightTable, nullptr);
  EXPECT_EQ(clone->tables, &clone->ownTables);
  EXPECT_NE(clone->tables, params->tables);
  EXPECT_EQ(clone->ownTables.offsetCount, 12);
  EXPECT_EQ(clone->ownTables.weightCount, 34);
  EXPECT_EQ(clone->ownTables.tableDamping, 56);
  EXPECT_EQ(clone->ownTables.tableAmplitude, 78);
  clone->Release();
  params->Release();
}

// A negative count asks for more than there is. The half-made copy is freed, which the sanitizer build checks.
TEST(RippleParams, CloneWithANegativeCountFailsToAllocate) {
  for (const bool inOffsets : {true, false}) {
    auto* params = new RippleParams;
    params->tables->offsetTable = NewTable(2, 0);
    params->tables->offsetCount = inOffsets ? -1 : 2;
    params->tables->weightTable = NewTable(2, 0);
    params->tables->weightCount = inOffsets ? 2 : -1;
    EXPECT_THROW(params->Clone(), std::bad_alloc);
    EXPECT_EQ(params->refCount, 1);
    params->Release();
  }
}

}  // namespace
