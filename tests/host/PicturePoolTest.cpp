#include "media/PicturePool.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>

namespace norix::test {

namespace {

TEST(PicturePool, UsesMemoryAgain) {
#ifdef __SANITIZE_THREAD__
  GTEST_SKIP() << "not with ThreadSanitizer, see PicturePool.cpp";
#endif
  host::PicturePool pool;
  const std::uint8_t* memory = nullptr;
  {
    const host::FramePtr picture = pool.picture(AV_PIX_FMT_BGRA, 64, 32);
    memory = picture->data[0];
  }
  EXPECT_EQ(pool.picture(AV_PIX_FMT_BGRA, 64, 32)->data[0], memory);
}

TEST(PicturePool, KeepsApartWhatIsInUse) {
  host::PicturePool pool;
  const host::FramePtr first = pool.picture(AV_PIX_FMT_YUV420P, 33, 17);
  const host::FramePtr second = pool.picture(AV_PIX_FMT_YUV420P, 33, 17);
  for (int plane = 0; plane < 3; ++plane) EXPECT_NE(first->data[plane], second->data[plane]);
  EXPECT_TRUE(av_frame_is_writable(first.get()));
}

TEST(PicturePool, MakesPicturesOfEverySizeAndFormat) {
  host::PicturePool pool;
  for (const AVPixelFormat format : {AV_PIX_FMT_BGRA, AV_PIX_FMT_RGB24, AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUVA420P}) {
    for (const int size : {1, 2, 31, 64, 1000}) {
      const host::FramePtr picture = pool.picture(format, size, size);
      EXPECT_EQ(picture->format, format);
      EXPECT_EQ(picture->width, size);
      EXPECT_EQ(picture->height, size);
      const host::FramePtr other = host::NewPicture(format, size, size);
      av_frame_copy(other.get(), picture.get());  // reads every line
    }
  }
}

TEST(PicturePool, PicturesOutliveIt) {
  auto pool = std::make_unique<host::PicturePool>();
  const host::FramePtr picture = pool->picture(AV_PIX_FMT_RGB24, 16, 16);
  pool.reset();
  picture->data[0][0] = 1;
  EXPECT_EQ(picture->data[0][0], 1);
}

}  // namespace

}  // namespace norix::test
