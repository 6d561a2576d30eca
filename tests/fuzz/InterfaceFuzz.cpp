// A host that calls the C interface in any order: the bytes of the input are its calls, and say which allocations fail.
// What it was told by the interface has to hold after every call.

#include <NorixEngine/FEParams.h>
#include <NorixEngine/NorixEngine.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/Allocations.h"
#include "fuzz/ByteReader.h"
#include "fuzz/Require.h"
#include "support/Formats.h"
#include "support/Picture.h"

namespace norix::test {

namespace {

constexpr int kMostCalls = 100;
constexpr int kUnwritten = -12345;
constexpr std::size_t kFieldsBegin = 24;
constexpr std::size_t kMostEntries = 3;

/** What the interface says about an effect; size and fields are 0 where it has no object. */
struct EffectFacts {
  const char* name;
  int size;
  int fields;
  bool renders = true;
};

constexpr EffectFacts kEffects[] = {
    {"Ground Glass", 32, 1},  {"Swirl", 56, 4},      {"Vignette", 56, 4},      {"Emboss", 32, 1},
    {"Sketch", 32, 1},        {"Comicbook", 0, 0},   {"Pinch", 56, 4},         {"Bulge", 56, 4},
    {"Stretch", 0, 0, false}, {"Zoom Blur", 48, 3},  {"Motion Blur", 40, 2},   {"Ripple", 120, 6},
    {"Focus Color", 56, 4},   {"Tile Scale", 32, 1}, {"Mirror Move X", 32, 1}, {"Mirror Move Y", 32, 1},
};

/** The sub-effects of a group; null: an entry without an effect. */
struct GroupFacts {
  const char* name;
  std::vector<const char*> parts;
};

const std::vector<GroupFacts>& Groups() {
  static const std::vector<GroupFacts> kGroups = {
      {"Mirror Scale Blur", {"Swirl", nullptr, "Zoom Blur"}},
      {"Flip Roll Up", {"Mirror Move Y", "Motion Blur"}},
      {"Flip Roll Down", {"Mirror Move Y", "Motion Blur"}},
      {"Flip Roll Left", {"Mirror Move X", "Motion Blur"}},
      {"Flip Roll Right", {"Mirror Move X", "Motion Blur"}},
      {"Blurry Roll Down", {"Mirror Move Y", "Motion Blur"}},
      {"Blurry Roll Left", {"Mirror Move X", "Motion Blur"}},
      {"Blurry Cross Right Up", {"Mirror Move X", "Mirror Move Y", "Motion Blur"}},
      {"Tile Zoom Blur", {"Tile Scale", "Zoom Blur"}},
      {"Tile Zoom Blur 1", {"Tile Scale", "Zoom Blur"}},
  };
  return kGroups;
}

const EffectFacts* FactsOf(std::string_view name) {
  const auto* const found = std::find_if(std::begin(kEffects), std::end(kEffects),
                                         [&](const EffectFacts& effect) { return effect.name == name; });
  return found == std::end(kEffects) ? nullptr : found;
}

const GroupFacts* GroupOf(std::string_view name) {
  const auto found =
      std::find_if(Groups().begin(), Groups().end(), [&](const GroupFacts& group) { return group.name == name; });
  return found == Groups().end() ? nullptr : &*found;
}

/** Runs a call of the interface; false when it ran out of memory. */
template <class Call>
bool Ask(Call call) {
  const EngineCall asking;
  try {
    call();
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

/** A handle to a parameter object, with one reference of its own. */
struct ParamSlot {
  FilterParams* params = nullptr;
  int size = kUnwritten;
  const EffectFacts* effect = nullptr; /**< whose object it is */
};

struct GroupSlot {
  FilterGroupParam* record = nullptr;
  std::string name;      /**< of the last call that went well */
  bool complete = false; /**< the last call went well */
  bool mixed = false;    /**< the host took the record's name away: entries may have names and objects of several groups */
  std::array<std::int64_t, kMostEntries> stamps = {}; /**< what the host has written into the fields that are its own */
};

/** All entries of a record, those beyond its count included; none if it has no array. */
std::span<FilterGroupEntry> AllEntries(const FilterGroupParam* record) {
  if (record == nullptr || record->entries == nullptr) return {};
  return {record->entries, kMostEntries};
}

std::vector<std::byte> FieldsOf(const FilterParams& params, const EffectFacts& effect) {
  std::vector<std::byte> fields(static_cast<std::size_t>(effect.fields) * sizeof(double));
  std::memcpy(fields.data(), reinterpret_cast<const std::byte*>(&params) + kFieldsBegin, fields.size());
  return fields;
}

bool SameTables(const FilterParams& a, const FilterParams& b) {
  const RippleTables& one = *static_cast<const RippleParams&>(a).tables;
  const RippleTables& other = *static_cast<const RippleParams&>(b).tables;
  const auto same = [](const std::int32_t* left, const std::int32_t* right, std::int32_t count) {
    if (left == nullptr || right == nullptr) return left == right;
    return left != right && std::equal(left, left + count, right);
  };
  return one.offsetCount == other.offsetCount && one.weightCount == other.weightCount &&
         one.tableDamping == other.tableDamping && one.tableAmplitude == other.tableAmplitude &&
         same(one.offsetTable, other.offsetTable, one.offsetCount) &&
         same(one.weightTable, other.weightTable, one.weightCount);
}

class Host {
public:
  explicit Host(ByteReader bytes) : bytes_(bytes) {}

  void Run() {
    for (int i = 0; i < kMostCalls && !bytes_.AtEnd(); ++i) {
      CallOnce();
      CheckCounts();
    }
    FailAllocation(0, 0);
    for (ParamSlot& slot : params_) Release(slot);
    for (GroupSlot& slot : groups_) Release(slot);
    Require(LiveAllocations() == 0, "nothing is left when all has been released");
  }

private:
  void CallOnce() {
    switch (bytes_.Below(16)) {
      case 0:
      case 1:
      case 2:
        return GetParams();
      case 3:
        return Reference();
      case 4:
        return Clone();
      case 5:
        return Release(Slot());
      case 6:
        return SetField(Slot());
      case 7:
      case 8:
        return Render(Slot());
      case 9:
      case 10:
        return GetGroup(Group());
      case 11:
        return GiveUpOrShareEntry();
      case 12:
        return ApplyGroup(Group());
      case 13:
        return bytes_.Below(2) == 0 ? CheckFormat() : ListEffects();
      case 14:
        return Stamp(Group());
      default: {
        const int number = bytes_.Byte() % 32;
        return FailAllocation(number, bytes_.Byte() % 4);
      }
    }
  }

  void GiveUpOrShareEntry() {
    switch (bytes_.Below(4)) {
      case 0:
        return Release(Group());
      case 2:
        return TakeNameAway(Group());
      default:
        return ShareEntry();
    }
  }

  ParamSlot& Slot() { return params_[bytes_.Below(params_.size())]; }
  GroupSlot& Group() { return groups_[bytes_.Below(groups_.size())]; }

  /** An effect's, a group's or a name of letters; null if the interface allows that there. */
  const char* Name(bool nullIsAllowed) {
    const std::size_t said = bytes_.Below(40);
    if (said < std::size(kEffects)) return kEffects[said].name;
    if (said < std::size(kEffects) + Groups().size()) return Groups()[said - std::size(kEffects)].name;
    if (said == 39 && nullIsAllowed) return nullptr;
    text_ = bytes_.Text();
    return text_.c_str();
  }

  int LevelOrTime() { return bytes_.Below(2) == 0 ? bytes_.SmallInteger() % 10001 : bytes_.Integer(); }

  void GetParams() {
    ParamSlot& slot = Slot();
    const char* const name = Name(true);
    const int level = LevelOrTime();
    const std::size_t withNull = bytes_.Below(16);
    if (name == nullptr || withNull < 2) {
      const ParamSlot before = slot;
      FilterParams** const params = withNull == 0 ? nullptr : &slot.params;
      int* const size = withNull == 1 ? nullptr : &slot.size;
      Require(Ask([&] { GetParamBuffer(name, level, params, size); }), "a call with a null argument allocates nothing");
      Require(slot.params == before.params && slot.size == before.size, "a call with a null argument does nothing");
      return;
    }
    const EffectFacts* const effect = FactsOf(name);
    FilterParams* const before = slot.params;
    const int sizeBefore = slot.size;
    const char* const held = before == nullptr ? nullptr : before->GetFilterName();
    const bool kept = held != nullptr && std::strcmp(held, name) == 0;
    const bool shared = HoldersOf(before) > 1;
    const bool done = Ask([&] { GetParamBuffer(name, level, &slot.params, &slot.size); });
    if (kept) {
      Require(done && slot.params == before && slot.size == effect->size, "an object of the same name is updated in place");
    } else if (!done || effect == nullptr || effect->size == 0) {
      Require(slot.params == nullptr && slot.size == sizeBefore, "without an object handle is null, size as it was");
      Require(done || (effect != nullptr && effect->size > 0), "where there is no object nothing is allocated");
      slot.effect = nullptr;
    } else {
      Require(slot.params != nullptr && slot.size == effect->size, "a new object has its size");
      Require(!shared || slot.params != before, "an object that others hold is not reused");
      slot.effect = effect;
    }
  }

  void Reference() {
    const ParamSlot from = Slot();
    Reference(from, Slot());
  }

  static void Reference(const ParamSlot& from, ParamSlot& to) {
    FilterParams* given = nullptr;
    Ask([&] { given = ReferenceParamBuffer(from.params); });
    Require(given == from.params, "a reference is the same object");
    const ParamSlot taken = {given, from.size, from.effect};
    Release(to);
    to = taken;
  }

  void Clone() {
    const ParamSlot from = Slot();
    ParamSlot& to = Slot();
    FilterParams* copy = nullptr;
    if (!Ask([&] { copy = CloneParamBuffer(from.params); })) return;
    Require((copy == nullptr) == (from.params == nullptr), "there is a copy of an object");
    if (copy != nullptr) {
      Require(copy != from.params && copy->refCount == 1 && copy->name == from.params->name, "a copy is of its own");
      Require(FieldsOf(*copy, *from.effect) == FieldsOf(*from.params, *from.effect), "a copy has the same fields");
      Require(!IsRipple(from) || SameTables(*copy, *from.params), "a copy has tables of its own with the same entries");
    }
    const ParamSlot taken = {copy, from.size, from.effect};
    Release(to);
    to = taken;
  }

  static void Release(ParamSlot& slot) {
    Ask([&] { ReleaseParamBuffer(slot.params); });
    slot = {};
  }

  static void Release(GroupSlot& slot) {
    ReleaseUnused(slot.record);
    Ask([&] { ReleaseFilterGroupParam(slot.record); });
    slot = {};
  }

  /** Entries beyond the count are nobody's but the host's. */
  static void ReleaseUnused(FilterGroupParam* record) {
    if (record == nullptr) return;
    const std::span<FilterGroupEntry> entries = AllEntries(record);
    for (auto k = static_cast<std::size_t>(record->count); k < entries.size(); ++k) {
      FilterGroupEntry& entry = entries[k];
      Ask([&] {
        ReleaseParamBuffer(entry.params);
        delete[] entry.name;
      });
      entry.params = nullptr;
      entry.name = nullptr;
    }
  }

  /** The record's next call may be another group's, which takes its entries over. */
  static void TakeNameAway(GroupSlot& slot) {
    if (slot.record == nullptr) return;
    Ask([&] { delete[] slot.record->name; });
    slot.record->name = nullptr;
    slot.complete = false;
    slot.mixed = true;
  }

  void SetField(const ParamSlot& slot) {
    if (slot.params == nullptr || slot.effect->fields == 0) return;
    const std::size_t index = bytes_.Below(static_cast<std::size_t>(slot.effect->fields));
    const double value = bytes_.Below(2) == 0 ? bytes_.SmallInteger() / 256.0 : bytes_.Double();
    std::memcpy(reinterpret_cast<std::byte*>(slot.params) + kFieldsBegin + index * sizeof value, &value, sizeof value);
  }

  static bool IsRipple(const ParamSlot& slot) {
    return slot.effect != nullptr && std::string_view(slot.effect->name) == "Ripple";
  }

  PictureShape Shape() {
    PictureShape shape{bytes_.Pick(AllFormats()).code, 1 + bytes_.Byte() % 20, 1 + bytes_.Byte() % 20, {}, {}};
    const int lines = bytes_.Byte();
    shape.padding.fill(lines & 0x1F);
    shape.bottomUp.fill((lines & 0x80) != 0);
    return shape;
  }

  void EmptyFrame(AVFrame& frame) {
    int& length = bytes_.Below(2) == 0 ? frame.width : frame.height;
    length = -static_cast<int>(bytes_.Below(3));
  }

  void DropPlane(AVFrame& frame, int planes) { frame.data[bytes_.Below(static_cast<std::size_t>(planes))] = nullptr; }

  /** The slot's object with its effect, or any name without an object or with one that no effect takes. */
  void Render(const ParamSlot& slot) {
    const char* name = slot.params == nullptr ? Name(false) : slot.effect->name;
    if (bytes_.Below(16) == 0) {
      text_ = bytes_.Text();
      if (FactsOf(text_.c_str()) == nullptr) name = text_.c_str();
    }
    const EffectFacts* const effect = FactsOf(name);
    const PictureShape shape = Shape();
    Picture source(shape, bytes_.Byte());
    Picture destination(shape, 1);
    AVFrame* src = source.Frame();
    AVFrame* dst = destination.Frame();
    bool nothing = effect == nullptr || !effect->renders;
    switch (bytes_.Below(12)) {
      case 0:
        src = nullptr;
        nothing = true;
        break;
      case 1:
        dst = nullptr;
        nothing = true;
        break;
      case 2:
        EmptyFrame(*src);
        nothing = true;
        break;
      case 3:
        DropPlane(bytes_.Below(2) == 0 ? *src : *dst, source.PlaneCount());
        nothing = true;
        break;
      default:
        break;
    }
    const int first = bytes_.Byte() % shape.height;
    const int count = bytes_.Byte() % (shape.height - first + 1);
    const auto unused = static_cast<std::int64_t>(bytes_.Bytes(8));
    const Picture sourceBefore = source;
    const Picture destinationBefore = destination;
    int answer = kUnwritten;
    const bool done = Ask([&] {
      // "Ripple" waits for the band at row 0, which has no rows here.
      if (first != 0) filter_video_frame(dst, src, name, slot.params, 0, 0, 0);
      answer = filter_video_frame(dst, src, name, slot.params, unused, first, count);
    });
    Require(!done || answer == (effect != nullptr && effect->renders ? 0 : -1), "known effects take the call");
    Require(SameBytes(sourceBefore, source), "a source stays as it is");
    if (nothing || count == 0) Require(SameBytes(destinationBefore, destination), "without a picture nothing is written");
  }

  void GetGroup(GroupSlot& slot) {
    const char* const name = Name(true);
    const int time = LevelOrTime();
    if (bytes_.Below(16) == 0) {
      Require(Ask([&] { GetFilterGroupParam(name, time, nullptr); }), "a call without a handle allocates nothing");
      return;
    }
    FilterGroupParam* const before = slot.record;
    const bool nameless = before != nullptr && before->name == nullptr;
    const bool replaced = before != nullptr && name != nullptr && !nameless && std::strcmp(before->name, name) != 0;
    if (replaced) ReleaseUnused(before);
    const bool done = Ask([&] { GetFilterGroupParam(name, time, &slot.record); });
    if (name == nullptr) {
      Require(done ? slot.record != before : slot.record == before, "without a name there is a new record");
      if (!done) return;
      FilterGroupParam* const empty = slot.record;
      Require(empty != nullptr && empty->name == nullptr && empty->count == 0, "without a name the record is empty");
      slot.record = before;  // which was not released
      Release(slot);
      slot.record = empty;
      return;
    }
    const bool sameGroup = slot.complete && slot.name == name;
    // Objects of several groups may not be what an entry's name asks for, and are then made again.
    Require(!sameGroup || done || slot.mixed, "updating allocates nothing");
    Require(!(sameGroup || nameless) || slot.record == before, "a record of the same group, or of none, is reused");
    if (before == nullptr || replaced) {
      slot.stamps = {};
      slot.mixed = false;
    }
    slot.complete = done;
    slot.name = name;
    if (done) CheckRecord(slot);
  }

  static void CheckRecord(const GroupSlot& slot) {
    const FilterGroupParam& record = *slot.record;
    Require(record.name != nullptr && slot.name == record.name, "a record has its group's name");
    const GroupFacts* const group = GroupOf(slot.name);
    const std::size_t count = group == nullptr ? 0 : group->parts.size();
    Require(static_cast<std::size_t>(record.count) == count, "a record has its group's entries");
    for (std::size_t k = 0; k < count; ++k) {
      const FilterGroupEntry& entry = record.entries[k];
      const char* const part = group->parts[k];
      Require(entry.reserved == slot.stamps[k] && entry.extraValue == slot.stamps[k], "fields of the host are left alone");
      Require(part == nullptr || (entry.name != nullptr && entry.params != nullptr), "an effect has a name and an object");
      if (slot.mixed) {
        Require(entry.name == nullptr || FactsOf(entry.name) != nullptr, "a name is an effect's");
        continue;
      }
      Require((entry.name == nullptr) == (part == nullptr), "an entry has a name if it has an effect");
      Require((entry.params == nullptr) == (part == nullptr), "an entry has an object if it has an effect");
      Require(entry.size == (part == nullptr ? 0 : FactsOf(part)->size), "an entry says the size of its object");
      Require(part == nullptr || std::strcmp(entry.name, part) == 0, "an entry has the name of its effect");
    }
  }

  void Stamp(GroupSlot& slot) {
    if (!slot.complete) return;
    const std::int64_t stamp = bytes_.Byte();
    for (std::size_t k = 0; k < static_cast<std::size_t>(slot.record->count); ++k) {
      slot.stamps[k] = stamp;
      slot.record->entries[k].reserved = slot.record->entries[k].extraValue = stamp;
    }
  }

  /** Hosts may hold on to an entry's object. */
  void ShareEntry() {
    const GroupSlot& from = Group();
    ParamSlot& to = Slot();
    if (from.record == nullptr || from.record->count == 0 || from.mixed) return;
    const auto count = static_cast<std::size_t>(from.record->count);
    const FilterGroupEntry& entry = from.record->entries[bytes_.Below(count)];
    if (entry.params != nullptr) Reference({entry.params, entry.size, FactsOf(entry.name)}, to);
  }

  void ApplyGroup(const GroupSlot& slot) {
    // Effects take objects of their own class only.
    if (slot.record == nullptr || slot.mixed) return;
    const PictureShape shape = Shape();
    Picture one(shape, bytes_.Byte());
    Picture other(shape, 1);
    AVFrame* src = one.Frame();
    AVFrame* dst = other.Frame();
    for (int k = 0; k < slot.record->count; ++k) {
      const FilterGroupEntry& entry = slot.record->entries[k];
      if (entry.name == nullptr) continue;
      const auto render = [&] {
        Require(filter_video_frame(dst, src, entry.name, entry.params, 0, 0, shape.height) == 0, "entries are rendered");
      };
      if (Ask(render)) std::swap(dst, src);
    }
  }

  void CheckFormat() {
    const char* const name = Name(false);
    const int proposed = bytes_.Below(2) == 0 ? bytes_.Pick(AllFormats()).code : bytes_.Integer();
    int answer = kUnwritten;
    Require(Ask([&] { answer = filter_check_format(name, proposed); }), "negotiating allocates nothing");
    if (FactsOf(name) == nullptr) {
      Require(answer == -1, "no format is answered for an unknown name");
    } else {
      Require(answer == kYuv420p || answer == kRgb24 || answer == kBgra, "one of three formats is answered");
      Require(answer == proposed || answer == kBgra || std::string_view(name) == "Sketch",
              "what fits is answered as it is");
    }
  }

  static void ListEffects() {
    const char** names = nullptr;
    Require(Ask([&] { names = NorixGetInfo(); }), "listing allocates nothing");
    for (std::size_t i = 0; i < std::size(kEffects); ++i)
      Require(names[i] != nullptr && FactsOf(names[i]) != nullptr, "sixteen known effects are listed");
    Require(names[std::size(kEffects)] == nullptr, "the list ends with a null pointer");
  }

  int HoldersOf(const FilterParams* params) const {
    int holders = 0;
    for (const ParamSlot& slot : params_) holders += slot.params == params ? 1 : 0;
    for (const GroupSlot& slot : groups_)
      for (const FilterGroupEntry& entry : AllEntries(slot.record)) holders += entry.params == params ? 1 : 0;
    return holders;
  }

  void CheckObject(const FilterParams& params, const EffectFacts& effect) const {
    Require(params.refCount == HoldersOf(&params), "an object counts its holders");
    const char* const name = params.GetFilterName();
    if (std::string_view(effect.name) == "Tile Scale") return Require(name == nullptr, "tiles carry no name");
    Require(name != nullptr && std::strcmp(name, effect.name) == 0, "an object carries its effect's name");
  }

  void CheckCounts() const {
    for (const ParamSlot& slot : params_)
      if (slot.params != nullptr) CheckObject(*slot.params, *slot.effect);
    for (const GroupSlot& slot : groups_) {
      for (const FilterGroupEntry& entry : AllEntries(slot.record)) {
        if (entry.params == nullptr) continue;
        if (slot.mixed) {
          Require(entry.params->refCount == HoldersOf(entry.params), "an object counts its holders");
        } else {
          CheckObject(*entry.params, *FactsOf(entry.name));
        }
      }
    }
  }

  ByteReader bytes_;
  std::array<ParamSlot, 4> params_;
  std::array<GroupSlot, 2> groups_;
  std::string text_;
};

}  // namespace

}  // namespace norix::test

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  norix::test::Host host({data, size});
  host.Run();
  return 0;
}
