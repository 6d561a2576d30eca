/* A host in C99 that goes the whole way: list, negotiation, parameters, picture, group. */

#include <NorixEngine/NorixEngine.h>
#include <libavutil/frame.h>
#include <stddef.h>
#include <stdio.h>
#include <string.h>

static int failures = 0;

static void Check(int holds, const char* what, int line) {
  if (holds) return;
  ++failures;
  fprintf(stderr, "line %d: not so: %s\n", line, what);
}

#define CHECK(condition) Check((condition) ? 1 : 0, #condition, __LINE__)

#ifdef NORIX_CLASSIC_PIXEL_CODES
enum { kYuv420p = 0, kBgra = 30 };
#else
enum { kYuv420p = AV_PIX_FMT_YUV420P, kBgra = AV_PIX_FMT_BGRA };
#endif

static void CheckLayout(void) {
  CHECK(sizeof(FilterGroupParam) == 24);
  CHECK(offsetof(FilterGroupParam, name) == 0);
  CHECK(offsetof(FilterGroupParam, count) == 8);
  CHECK(offsetof(FilterGroupParam, entries) == 16);

  CHECK(sizeof(FilterGroupEntry) == 72);
  CHECK(offsetof(FilterGroupEntry, name) == 0);
  CHECK(offsetof(FilterGroupEntry, params) == 8);
  CHECK(offsetof(FilterGroupEntry, size) == 16);
  CHECK(offsetof(FilterGroupEntry, reserved) == 24);
  CHECK(offsetof(FilterGroupEntry, scaleX) == 32);
  CHECK(offsetof(FilterGroupEntry, scaleY) == 36);
  CHECK(offsetof(FilterGroupEntry, extraPercent) == 40);
  CHECK(offsetof(FilterGroupEntry, extraFlag) == 44);
  CHECK(offsetof(FilterGroupEntry, progress) == 48);
  CHECK(offsetof(FilterGroupEntry, extraValue) == 56);
  CHECK(offsetof(FilterGroupEntry, extraPercentX) == 64);
  CHECK(offsetof(FilterGroupEntry, extraPercentY) == 68);

  CHECK(sizeof(((FilterGroupParam*)0)->count) == 4);
  CHECK(sizeof(((FilterGroupEntry*)0)->size) == 4);
  CHECK(sizeof(((FilterGroupEntry*)0)->reserved) == 8);
  CHECK(sizeof(((FilterGroupEntry*)0)->extraPercent) == 4);
  CHECK(sizeof(((FilterGroupEntry*)0)->extraFlag) == 4);
  CHECK(sizeof(((FilterGroupEntry*)0)->progress) == 8);
  CHECK(sizeof(((FilterGroupEntry*)0)->extraValue) == 8);
}

static void CheckList(void) {
  const char** names = NorixGetInfo();
  int count = 0;
  while (names[count]) ++count;
  CHECK(count == 16);
  CHECK(strcmp(names[0], "Ground Glass") == 0);
  CHECK(strcmp(names[15], "Tile Scale") == 0);
}

static void CheckNegotiation(void) {
  CHECK(filter_check_format("Swirl", kYuv420p) == kYuv420p);
  CHECK(filter_check_format("Swirl", kBgra) == kBgra);
  CHECK(filter_check_format("Swirl", -1) == kBgra);
  CHECK(filter_check_format("Sketch", kBgra) == kYuv420p);
  CHECK(filter_check_format("no such effect", kBgra) == -1);
}

static void CheckParams(void) {
  FilterParams* params = NULL;
  FilterParams* first;
  FilterParams* clone;
  int size = 0;
  GetParamBuffer("Swirl", 5000, &params, &size);
  CHECK(params != NULL);
  CHECK(size == 56);
  first = params;
  GetParamBuffer("Swirl", 7000, &params, &size);
  CHECK(params == first);
  CHECK(ReferenceParamBuffer(params) == params);
  ReleaseParamBuffer(params);
  clone = CloneParamBuffer(params);
  CHECK(clone != NULL && clone != params);
  ReleaseParamBuffer(clone);
  GetParamBuffer("Ripple", 5000, &params, &size);
  CHECK(params != NULL);
  CHECK(size == 120);
  GetParamBuffer("Comicbook", 5000, &params, &size);
  CHECK(params == NULL);
  CHECK(size == 120);
}

enum { kWidth = 3, kHeight = 2, kLine = 4 * kWidth, kPadding = 5 };

static void CheckPicture(void) {
  unsigned char from[kHeight * kLine];
  unsigned char to[kHeight * (kLine + kPadding)];
  AVFrame src;
  AVFrame dst;
  FilterParams* params = NULL;
  int size = 0;
  int row, column, byte;
  for (byte = 0; byte < kHeight * kLine; ++byte) from[byte] = (unsigned char)byte;
  memset(to, 0xA5, sizeof to);
  memset(&src, 0, sizeof src);
  src.data[0] = from;
  src.linesize[0] = kLine;
  src.width = kWidth;
  src.height = kHeight;
  src.format = filter_check_format("Mirror Move X", kBgra);
  dst = src;
  dst.data[0] = to;
  dst.linesize[0] = kLine + kPadding;

  /* The full move is the mirror image; the alpha bytes move with their pixels, the padding stays. */
  GetParamBuffer("Mirror Move X", 10000, &params, &size);
  CHECK(filter_video_frame(&dst, &src, "Mirror Move X", params, 0, 0, kHeight) == 0);
  for (row = 0; row < kHeight; ++row) {
    for (column = 0; column < kWidth; ++column) {
      for (byte = 0; byte < 4; ++byte) {
        CHECK(to[row * (kLine + kPadding) + column * 4 + byte] == row * kLine + (kWidth - 1 - column) * 4 + byte);
      }
    }
    for (byte = 0; byte < kPadding; ++byte) CHECK(to[row * (kLine + kPadding) + kLine + byte] == 0xA5);
  }
  for (byte = 0; byte < kHeight * kLine; ++byte) CHECK(from[byte] == byte);
  ReleaseParamBuffer(params);

  memset(to, 0xA5, sizeof to);
  CHECK(filter_video_frame(&dst, &src, "Stretch", NULL, 0, 0, kHeight) == -1);
  CHECK(filter_video_frame(&dst, &src, "no such effect", NULL, 0, 0, kHeight) == -1);
  for (byte = 0; byte < (int)sizeof to; ++byte) CHECK(to[byte] == 0xA5);
}

static void CheckGroup(void) {
  unsigned char from[kHeight * kLine] = {0};
  unsigned char to[kHeight * kLine];
  AVFrame src;
  AVFrame dst;
  FilterGroupParam* group = NULL;
  int k;
  int rendered = 0;
  memset(&src, 0, sizeof src);
  src.data[0] = from;
  src.linesize[0] = kLine;
  src.width = kWidth;
  src.height = kHeight;
  src.format = kBgra;
  dst = src;
  dst.data[0] = to;

  GetFilterGroupParam("Mirror Scale Blur", 5000, &group);
  CHECK(group != NULL);
  CHECK(strcmp(group->name, "Mirror Scale Blur") == 0);
  CHECK(group->count == 3);
  for (k = 0; k < group->count; ++k) {
    const FilterGroupEntry* entry = &group->entries[k];
    CHECK(entry->reserved == 0 && entry->extraFlag == 0 && entry->extraValue == 0);
    CHECK(entry->extraPercent == 100 && entry->extraPercentX == 100 && entry->extraPercentY == 100);
    if (!entry->name) {
      CHECK(k == 1 && !entry->params && entry->size == 0);
      CHECK(entry->scaleX == 150 && entry->scaleY == 150 && entry->progress == 0.5);
      continue;
    }
    CHECK(strcmp(entry->name, k == 0 ? "Swirl" : "Zoom Blur") == 0);
    CHECK(entry->size == (k == 0 ? 56 : 48));
    memset(to, 0xA5, sizeof to);
    CHECK(filter_video_frame(&dst, &src, entry->name, entry->params, 0, 0, kHeight) == 0);
    CHECK(memcmp(to, from, sizeof to) == 0); /* a black picture stays black */
    ++rendered;
  }
  CHECK(rendered == 2);
  GetFilterGroupParam("Mirror Scale Blur", 10000, &group);
  CHECK(group->entries[1].scaleX == 200);
  GetFilterGroupParam("no such group", 0, &group);
  CHECK(group->count == 0);
  ReleaseFilterGroupParam(group);
}

int main(void) {
  CheckLayout();
  CheckList();
  CheckNegotiation();
  CheckParams();
  CheckPicture();
  CheckGroup();
  return failures ? 1 : 0;
}
