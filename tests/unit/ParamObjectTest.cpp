// The parameter classes: defaults, names, life by reference count, copies.

#include <NorixEngine/FEParams.h>
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <memory>
#include <string>
#include <type_traits>

#include "CountedParams.h"

namespace {

using norix::test::CountedParams;

struct Releaser {
  void operator()(FilterParams* params) const { params->Release(); }
};
template <class Params>
using Holder = std::unique_ptr<Params, Releaser>;

template <class Params>
Holder<Params> Make() {
  return Holder<Params>(new Params);
}

TEST(ReferenceCount, StartsAtOneAndTheLastReleaseDeletes) {
  int deletions = 0;
  auto* params = new CountedParams("Counted", deletions);
  EXPECT_EQ(params->refCount, 1);
  params->AddRef();
  EXPECT_EQ(params->refCount, 2);
  EXPECT_EQ(params->Release(), 1);
  EXPECT_EQ(deletions, 0);
  EXPECT_EQ(params->refCount, 1);
  params->Release();
  EXPECT_EQ(deletions, 1);
}

TEST(ReferenceCount, CountsEveryHolder) {
  int deletions = 0;
  auto* params = new CountedParams("Counted", deletions);
  for (int holders = 2; holders <= 5; ++holders) {
    params->AddRef();
    EXPECT_EQ(params->refCount, holders);
  }
  for (int left = 4; left >= 1; --left) {
    EXPECT_EQ(params->Release(), left);
    EXPECT_EQ(deletions, 0);
  }
  params->Release();
  EXPECT_EQ(deletions, 1);
}

TEST(ReferenceCount, ReleaseDeletesAtZeroAndBelow) {
  for (const int count : {0, -1, -1000}) {
    int deletions = 0;
    auto* params = new CountedParams("Counted", deletions);
    params->refCount = count;
    params->Release();
    EXPECT_EQ(deletions, 1) << "from a count of " << count;
  }
}

TEST(ReferenceCount, ReleaseOfTwoKeepsTheObject) {
  int deletions = 0;
  auto* params = new CountedParams("Counted", deletions);
  params->refCount = 2;
  EXPECT_EQ(params->Release(), 1);
  EXPECT_EQ(deletions, 0);
  params->Release();
}

TEST(FilterName, IsThePointerOfTheObjectNotACopy) {
  int deletions = 0;
  static const char kName[] = "Some name";
  auto* params = new CountedParams(kName, deletions);
  EXPECT_EQ(params->GetFilterName(), kName);
  params->name = nullptr;
  EXPECT_EQ(params->GetFilterName(), nullptr);
  params->Release();
}

TEST(ParamClasses, AreAbstractAtTheBaseAndDeriveDirectly) {
  EXPECT_TRUE(std::is_abstract_v<FilterParams>);
  EXPECT_TRUE(std::has_virtual_destructor_v<FilterParams>);
  EXPECT_FALSE(std::is_copy_constructible_v<SwirlParams>);
  EXPECT_FALSE(std::is_copy_assignable_v<SwirlParams>);
}

// What a class promises: its name, its size and its fields, in declared order, with their defaults.
template <class Params>
struct Promise;

template <class Params>
using Fields = std::array<double Params::*, Promise<Params>::kDefaults.size()>;

#define NORIX_PROMISE(Class, displayName, bytes, defaults, ...)                    \
  template <>                                                                      \
  struct Promise<Class> {                                                          \
    using P = Class;                                                               \
    static constexpr const char* kName = displayName;                              \
    static constexpr std::size_t kSize = bytes;                                    \
    static constexpr auto kDefaults = std::to_array<double> defaults;              \
    static constexpr auto kFields = std::to_array<double Class::*>({__VA_ARGS__}); \
  }

NORIX_PROMISE(SwirlParams, "Swirl", 56, ({0.5, 0.5, 1.0, 180.0}), &P::centerX, &P::centerY, &P::radius, &P::angle);
NORIX_PROMISE(VignetteParams, "Vignette", 56, ({0.5, 0.5, 0.3, 0.75}), &P::centerX, &P::centerY, &P::innerRadius,
              &P::outerRadius);
NORIX_PROMISE(PinchParams, "Pinch", 56, ({0.5, 0.5, 1.0, 0.5}), &P::centerX, &P::centerY, &P::radius, &P::strength);
NORIX_PROMISE(BulgeParams, "Bulge", 56, ({0.5, 0.5, 0.5, 0.5}), &P::centerX, &P::centerY, &P::radius, &P::strength);
NORIX_PROMISE(ZoomBlurParams, "Zoom Blur", 48, ({0.5, 0.5, 1.0}), &P::centerX, &P::centerY, &P::strength);
NORIX_PROMISE(MotionBlurParams, "Motion Blur", 40, ({1.0, 0.0}), &P::strength, &P::angle);
NORIX_PROMISE(RippleParams, "Ripple", 120, ({0.5, 0.5, 0.5, 10.0, 1.0, 0.0}), &P::centerX, &P::centerY, &P::radius,
              &P::damping, &P::amplitude, &P::phase);
NORIX_PROMISE(GroundGlassParams, "Ground Glass", 32, ({0.0}), &P::amount);
NORIX_PROMISE(EmbossParams, "Emboss", 32, ({0.0}), &P::amount);
NORIX_PROMISE(SketchParams, "Sketch", 32, ({0.0}), &P::amount);
NORIX_PROMISE(FocusColorParams, "Focus Color", 56, ({0.5, 0.5, 0.3, 0.2}), &P::centerX, &P::centerY, &P::radius,
              &P::feather);
NORIX_PROMISE(MirrorMoveXParams, "Mirror Move X", 32, ({0.0}), &P::offset);
NORIX_PROMISE(MirrorMoveYParams, "Mirror Move Y", 32, ({0.0}), &P::offset);
NORIX_PROMISE(TileScaleParams, nullptr, 32, ({1.0}), &P::scale);

#undef NORIX_PROMISE

template <class Params>
class ParamClass : public testing::Test {};

using AllClasses = testing::Types<SwirlParams, VignetteParams, PinchParams, BulgeParams, ZoomBlurParams, MotionBlurParams,
                                  RippleParams, GroundGlassParams, EmbossParams, SketchParams, FocusColorParams,
                                  MirrorMoveXParams, MirrorMoveYParams, TileScaleParams>;
TYPED_TEST_SUITE(ParamClass, AllClasses);

TYPED_TEST(ParamClass, StartsWithItsDefaultsAndOneReference) {
  const auto params = Make<TypeParam>();
  EXPECT_EQ(params->refCount, 1);
  using Expected = Promise<TypeParam>;
  static_assert(Expected::kDefaults.size() == Expected::kFields.size());
  for (std::size_t i = 0; i < Expected::kFields.size(); ++i) {
    EXPECT_EQ(params.get()->*Expected::kFields[i], Expected::kDefaults[i]) << "field " << i;
  }
}

TYPED_TEST(ParamClass, CarriesItsName) {
  const auto params = Make<TypeParam>();
  EXPECT_STREQ(params->GetFilterName(), Promise<TypeParam>::kName);
  EXPECT_EQ(params->GetFilterName(), params->name);
}

// Hosts read fields where earlier headers had them: the count and the name first, then the fields back to back.
TYPED_TEST(ParamClass, HasItsFieldsInOrder) {
  using Expected = Promise<TypeParam>;
  EXPECT_EQ(sizeof(TypeParam), Expected::kSize);
  const auto params = Make<TypeParam>();
  const auto* base = reinterpret_cast<const char*>(params.get());
  EXPECT_EQ(reinterpret_cast<const char*>(&params->refCount) - base, 8);
  EXPECT_EQ(reinterpret_cast<const char*>(&params->name) - base, 16);
  std::ptrdiff_t offset = 24;
  for (const auto field : Expected::kFields) {
    EXPECT_EQ(reinterpret_cast<const char*>(&(params.get()->*field)) - base, offset);
    offset += 8;
  }
}

TYPED_TEST(ParamClass, ClonesEveryField) {
  using Expected = Promise<TypeParam>;
  const auto params = Make<TypeParam>();
  double value = 11.25;
  for (const auto field : Expected::kFields) {
    params.get()->*field = value;
    value += 1.5;
  }
  const Holder<FilterParams> clone(params->Clone());
  ASSERT_NE(clone.get(), params.get());
  auto* copy = dynamic_cast<TypeParam*>(clone.get());
  ASSERT_NE(copy, nullptr) << "a clone is of the same class";
  value = 11.25;
  for (std::size_t i = 0; i < Expected::kFields.size(); ++i) {
    EXPECT_EQ(copy->*Expected::kFields[i], value) << "field " << i;
    EXPECT_EQ(params.get()->*Expected::kFields[i], value) << "field " << i << " of the original";
    value += 1.5;
  }
}

TYPED_TEST(ParamClass, ClonesAreIndependent) {
  using Expected = Promise<TypeParam>;
  const auto params = Make<TypeParam>();
  const Holder<FilterParams> clone(params->Clone());
  for (const auto field : Expected::kFields) params.get()->*field = -7.0;
  const auto& copy = dynamic_cast<TypeParam&>(*clone);
  for (std::size_t i = 0; i < Expected::kFields.size(); ++i) {
    EXPECT_EQ(copy.*Expected::kFields[i], Expected::kDefaults[i]) << "field " << i;
  }
}

TYPED_TEST(ParamClass, ClonesStartWithOneReferenceAndTheClassesOwnName) {
  const auto params = Make<TypeParam>();
  params->AddRef();
  params->AddRef();
  params->name = "renamed by the host";
  const Holder<FilterParams> clone(params->Clone());
  EXPECT_EQ(clone->refCount, 1);
  EXPECT_STREQ(clone->GetFilterName(), Promise<TypeParam>::kName);
  EXPECT_EQ(params->refCount, 3);
  EXPECT_STREQ(params->GetFilterName(), "renamed by the host");
  params->Release();
  params->Release();
}

// Hosts built against an earlier library call Clone through the third slot of the table of virtual functions.
#if defined(__clang__)
#define NORIX_RAW_CALL __attribute__((no_sanitize("undefined")))
#else
#define NORIX_RAW_CALL
#endif
NORIX_RAW_CALL FilterParams* CallThirdSlot(const FilterParams* params) {
  using CloneFunction = FilterParams* (*)(const FilterParams*);
  CloneFunction const* slots = nullptr;
  std::memcpy(&slots, static_cast<const void*>(params), sizeof(slots));
  return slots[2](params);
}

TYPED_TEST(ParamClass, HasCloneAfterItsTwoDestructors) {
  const auto params = Make<TypeParam>();
  params.get()->*Promise<TypeParam>::kFields[0] = 3.75;
  const Holder<FilterParams> clone(CallThirdSlot(params.get()));
  const auto* copy = dynamic_cast<TypeParam*>(clone.get());
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(copy->*Promise<TypeParam>::kFields[0], 3.75);
}

}  // namespace
