// RippleParams owns two tables, which clones copy and the destructor frees.

#include <NorixEngine/FEParams.h>

#include <algorithm>
#include <cstddef>

#include "FEParams/CopyFields.h"

namespace {

std::int32_t* CopyTable(const std::int32_t* table, std::int32_t count) {
  if (!table) return nullptr;
  // A negative count becomes a size that no allocator grants.
  auto* copy = new std::int32_t[static_cast<std::size_t>(count)];
  std::copy_n(table, count, copy);
  return copy;
}

}  // namespace

RippleParams::RippleParams() : FilterParams("Ripple"), tables(&ownTables) {}

RippleParams::~RippleParams() {
  delete[] ownTables.offsetTable;
  ownTables.offsetTable = nullptr;
  delete[] ownTables.weightTable;
  ownTables.weightTable = nullptr;
}

FilterParams* RippleParams::Clone() const {
  auto* copy = norix::CopyFields(*this, &RippleParams::centerX, &RippleParams::centerY, &RippleParams::radius,
                                 &RippleParams::damping, &RippleParams::amplitude, &RippleParams::phase);
  RippleTables& to = *copy->tables;
  to.offsetCount = tables->offsetCount;
  to.weightCount = tables->weightCount;
  to.tableAmplitude = tables->tableAmplitude;
  to.tableDamping = tables->tableDamping;
  try {
    to.offsetTable = CopyTable(tables->offsetTable, tables->offsetCount);
    to.weightTable = CopyTable(tables->weightTable, tables->weightCount);
  } catch (...) {
    copy->Release();
    throw;
  }
  return copy;
}
