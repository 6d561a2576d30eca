#ifndef NORIX_TESTS_EXACT_PARAMOBJECT_H
#define NORIX_TESTS_EXACT_PARAMOBJECT_H

#include <NorixEngine/FEParams.h>
#include <NorixEngine/NorixEngine.h>

#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

namespace norix::test {

/**
 * An effect's parameters, whatever their class: made from name and level, their fields reached by number.
 *
 * Relies on the pinned layout of the classes: after the 24 bytes of FilterParams the fields follow as doubles, in the order
 * of their declaration, up to the end of the object. Only Ripple's object goes on after its six, with its tables.
 */
class ParamObject {
public:
  /** Without an object, as for null parameters. */
  ParamObject() = default;

  ParamObject(const char* name, int level) : name_(name) {
    FilterParams* made = nullptr;
    GetParamBuffer(name, level, &made, &size_);
    object_.reset(made);
  }

  ParamObject Clone() const {
    ParamObject copy;
    copy.name_ = name_;
    copy.size_ = size_;
    copy.object_.reset(CloneParamBuffer(object_.get()));
    return copy;
  }

  FilterParams* Get() const { return object_.get(); }

  std::size_t FieldCount() const {
    if (object_ == nullptr) return 0;
    if (name_ == "Ripple") return 6;
    return (static_cast<std::size_t>(size_) - kFieldsBegin) / sizeof(double);
  }

  double Field(std::size_t index) const {
    double value = 0;
    std::memcpy(&value, Address(index), sizeof value);
    return value;
  }

  void SetField(std::size_t index, double value) { std::memcpy(Address(index), &value, sizeof value); }

  /** References, name and fields, to the bit; of Ripple's tables their counts and keys. */
  bool SameAs(const ParamObject& other) const {
    if (object_ == nullptr || other.object_ == nullptr) return object_ == other.object_;
    if (object_->refCount != other.object_->refCount || object_->name != other.object_->name) return false;
    if (const RippleParams* const ripple = AsRipple(); ripple != nullptr && !SameKeys(*ripple, *other.AsRipple()))
      return false;
    return FieldCount() == other.FieldCount() &&
           std::memcmp(Address(0), other.Address(0), FieldCount() * sizeof(double)) == 0;
  }

private:
  static constexpr std::size_t kFieldsBegin = 24;
  static_assert(sizeof(FilterParams) == kFieldsBegin);

  struct Release {
    void operator()(FilterParams* object) const { ReleaseParamBuffer(object); }
  };

  const RippleParams* AsRipple() const {
    return name_ == "Ripple" ? static_cast<const RippleParams*>(object_.get()) : nullptr;
  }

  static bool SameKeys(const RippleParams& a, const RippleParams& b) {
    if (a.tables != &a.ownTables || b.tables != &b.ownTables) return false;
    const auto keys = [](const RippleTables& tables) {
      return std::tuple(tables.offsetCount, tables.weightCount, tables.tableDamping, tables.tableAmplitude);
    };
    return keys(a.ownTables) == keys(b.ownTables);
  }

  std::byte* Address(std::size_t index) const {
    return reinterpret_cast<std::byte*>(object_.get()) + kFieldsBegin + index * sizeof(double);
  }

  std::string name_;
  int size_ = 0;
  std::unique_ptr<FilterParams, Release> object_;
};

}  // namespace norix::test

#endif
