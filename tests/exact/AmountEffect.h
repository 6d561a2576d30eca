#ifndef NORIX_TESTS_EXACT_AMOUNTEFFECT_H
#define NORIX_TESTS_EXACT_AMOUNTEFFECT_H

#include <NorixEngine/NorixEngine.h>
#include <gtest/gtest.h>

#include <cstdint>

#include "exact/ParamObject.h"
#include "reference/Reference.h"
#include "support/Formats.h"
#include "support/GuardedPicture.h"
#include "support/Picture.h"
#include "support/Targets.h"

namespace norix::test {

/** An effect with one field, "amount", against its reference, on pictures that a test has painted. */
class AmountEffect {
public:
  explicit AmountEffect(const char* name) : effect_(*reference::FindEffect(name)), params_(name, 5000) {
    filter_check_format(name, kBgra);
  }

  void SetAmount(double amount) { params_.SetField(0, amount); }
  void SetLevel(int level) { params_ = ParamObject(effect_.name, level); }

  testing::AssertionResult Agrees(Picture& source, const PictureShape& shape, int firstRow, int rowCount) const {
    const Picture before(shape, 77);
    Picture expected = before;
    effect_.render(*expected.Frame(), *source.Frame(), params_.Get(), firstRow, rowCount);
    for (const std::int64_t target : Targets()) {
      const ForcedTarget forced(target);
      Picture actual = before;
      filter_video_frame(actual.Frame(), source.Frame(), effect_.name, params_.Get(), 0, firstRow, rowCount);
      if (const auto same = norix::test::SameBytes(expected, actual); !same) return Failure(target) << same.message();
    }
    return testing::AssertionSuccess();
  }

  testing::AssertionResult Agrees(Picture& source) const {
    return Agrees(source, source.Shape(), 0, source.Shape().height);
  }

  /** Without padding, beside an unreadable page: whatever reads or writes beyond a plane dies here. */
  testing::AssertionResult AgreesAtPageEnd(Picture& source) const {
    Picture expected(source.Shape(), 9);
    const Picture before = expected;
    effect_.render(*expected.Frame(), *source.Frame(), params_.Get(), 0, source.Shape().height);
    for (const std::int64_t target : Targets()) {
      const ForcedTarget forced(target);
      GuardedPicture from(source, Guard::kBehind);
      GuardedPicture to(before, Guard::kBehind);
      filter_video_frame(to.Frame(), from.Frame(), effect_.name, params_.Get(), 0, 0, source.Shape().height);
      if (!to.ShowsTheSameAs(expected))
        return Failure(target) << source.Shape().width << 'x' << source.Shape().height << " at the end of memory";
    }
    return testing::AssertionSuccess();
  }

private:
  testing::AssertionResult Failure(std::int64_t target) const {
    return testing::AssertionFailure() << effect_.name << ", amount " << testing::PrintToString(params_.Field(0))
                                       << ", with " << TargetName(target) << "\n  ";
  }

  reference::Effect effect_;
  ParamObject params_;
};

}  // namespace norix::test

#endif
