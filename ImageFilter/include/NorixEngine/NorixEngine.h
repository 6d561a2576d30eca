/**
 * @file
 * NorixEngine: video effects on decoded pictures. The C interface, for C99 and C++.
 *
 * A host hands over two pictures as libavutil `AVFrame`s, a destination and a source, and gets the source with an effect
 * written into the destination, one horizontal band of rows per call.
 *
 * Order of calls
 * --------------
 *  1. NorixGetInfo() lists the effects by display name.
 *  2. filter_check_format() answers, per effect, the pixel format to convert pictures to.
 *  3. GetParamBuffer() makes a parameter object from the effect's name and a level, 0 (weakest) to 10000 (strongest).
 *  4. filter_video_frame() renders a band, as often as there are bands and frames; GetParamBuffer() with the same handle
 *     changes the level in between.
 *  5. ReleaseParamBuffer() ends the use of the object.
 *
 * Group effects (transitions) replace step 3 by GetFilterGroupParam(): for a group's name and a time, 0 to 10000, it lists
 * sub-effects with their parameter objects; the host applies each with filter_video_frame(), in the order of the list.
 *
 * Pictures
 * --------
 * Read from an `AVFrame`: `data[0..3]`, `linesize[0..3]`, `width`, `height` and `format`; written: the bytes that `data` of
 * the destination points to. 8 bits a sample. Both frames have the same format and size; the source's govern. The two must
 * not share pixel memory; nothing checks that. Line sizes may differ between the frames and may be negative (bottom-up
 * pictures). A frame with `width` or `height` below 1, or with a null plane that its format needs, is left alone.
 *
 * Bands
 * -----
 * A band is `rowCount` rows from `firstRow`, in full-resolution rows counted from the top; the whole picture is the band
 * 0, `height`. A call writes its band and may read all of the source. Nothing clips a band to the picture: that is the
 * host's word. Cut pictures with 4:2:0 chroma on even rows, or bands share chroma rows (see "Memory"). A band is a
 * computation of its own: running sums and neighbourhoods begin at its first row, so joined bands are not in all effects
 * the bytes of one whole-picture call. `rowCount` below 1 writes no pixel.
 *
 * Memory
 * ------
 * A plane is `height` rows of |linesize| bytes, U and V (height + 1) / 2 rows; padding belongs to it, that of the last row
 * too. With bands inside the picture, a call reads nothing outside the source's planes and writes nothing outside the
 * destination's, whatever sizes, line sizes and parameters are, with one exception:
 *  - A band with odd `firstRow` and odd `rowCount` that ends at the bottom of a YUV picture of even height reaches one row
 *    behind the U and V planes, in both pictures: in copies, "Emboss", "Focus Color", "Mirror Move X", "Mirror Move Y" and
 *    "Tile Scale". Copies are calls with null or ineffective parameters, "Ground Glass" on small pictures and "Comicbook"
 * on YUV pictures.
 *
 * Inside the destination's planes a call writes the pixels of its band, in U and V the rows from firstRow / 2 up to
 * (firstRow + 1) / 2 + (rowCount + 1) / 2, and also:
 *  - padding: copies, "Mirror Move Y", "Focus Color" in the luma of YUV pictures and every effect in an alpha plane carry
 * as many bytes of a row as the smaller of the two |linesize| has;
 *  - other rows of the alpha plane: copies take rows (firstRow + 1) / 2 to (firstRow + 1) / 2 + (rowCount + 1) / 2 of it;
 *  - other rows: "Ground Glass" on YUV pictures, the row after a band of odd `rowCount`, and any byte of the three planes
 * when width or height is odd; "Comicbook" and "Focus Color" on packed pictures, any byte when the two line sizes differ.
 *
 * Threads
 * -------
 * The library starts no thread and takes no lock. Calls for disjoint bands, of one picture or several, may run at the same
 * time, also with one parameter object, as long as nobody changes, references or releases that object meanwhile. "Ripple"
 * keeps tables in its object: the band at row 0 builds those for its settings and size, the picture's other bands wait for
 * it; pictures that share an object may be in work at the same time once the tables are there. "Ground Glass" draws from
 * the process-wide rand(). filter_check_format() for "Sketch" and "Focus Color" fills tables that those effects read: call
 * it before the first frame; it may be called on several threads at once.
 *
 * Errors
 * ------
 * Nothing is printed. Null frames, handles and records are harmless where a function does not say otherwise; a null name is
 * harmless in GetParamBuffer() and GetFilterGroupParam() and not allowed elsewhere. When memory runs out, C++'s
 * std::bad_alloc passes through the functions that allocate, which each of them says; the library throws nothing of its
 * own.
 */
#ifndef NORIXENGINE_NORIXENGINE_H
#define NORIXENGINE_NORIXENGINE_H

#include <stdint.h>

#if defined(__GNUC__)
#define NORIX_API __attribute__((visibility("default")))
#else
#define NORIX_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** libavutil's frame record, from <libavutil/frame.h>. */
struct AVFrame;

/** An effect's settings: a reference-counted object, opaque in C; the classes are in FEParams.h (C++). */
struct FilterParams;

/** One sub-effect of a group. 72 bytes. Everything in it belongs to the record; hosts read it, and may use the host fields.
 */
struct FilterGroupEntry {
  char* name;                  /**< sub-effect's display name, NUL-terminated; null: an entry without an effect */
  struct FilterParams* params; /**< its parameter object, one reference held by the entry; null as `name` is */
  int32_t size;                /**< bytes of the object `params`, as GetParamBuffer() reports them; 0 without one */
  int64_t reserved;            /**< for the host; 0 at first, never changed by the library */
  int32_t scaleX;              /**< width in percent, 100 unless "Mirror Scale Blur" sets it, 100 to 200 */
  int32_t scaleY;              /**< height in percent, 100 unless "Mirror Scale Blur" sets it, 100 to 200 */
  int32_t extraPercent;        /**< for the host; 100 at first, never changed by the library */
  int32_t extraFlag;           /**< for the host; 0 at first, never changed by the library */
  double progress;             /**< share of the transition's time, 0.0 to 1.0, in "Mirror Scale Blur"; else 0.0 */
  int64_t extraValue;          /**< for the host; 0 at first, never changed by the library */
  int32_t extraPercentX;       /**< for the host; 100 at first, never changed by the library */
  int32_t extraPercentY;       /**< for the host; 100 at first, never changed by the library */
};

/** The sub-effects of a group effect at one time. 24 bytes. Made and freed by the library. */
struct FilterGroupParam {
  char* name;                       /**< the group's name, NUL-terminated, owned by the record; null: the next call's */
  int32_t count;                    /**< entries in use: 0, 2 or 3 */
  struct FilterGroupEntry* entries; /**< `count` entries, owned by the record; may be null when `count` is 0 */
};

#ifndef __cplusplus
typedef struct FilterParams FilterParams;
typedef struct FilterGroupEntry FilterGroupEntry;
typedef struct FilterGroupParam FilterGroupParam;
#endif

/**
 * Lists the effects.
 *
 * @return array of sixteen display names and a null pointer at its end; owned by the library, valid while it is loaded, not
 *         to be changed. "Stretch" is listed and has no picture: filter_video_frame() answers -1 for it.
 *
 * Any thread.
 */
NORIX_API const char** NorixGetInfo(void);

/**
 * Negotiates the pixel format of an effect.
 *
 * Most effects work in AV_PIX_FMT_YUV420P, AV_PIX_FMT_RGB24 and AV_PIX_FMT_BGRA: one of these is answered as it is,
 * anything else with AV_PIX_FMT_BGRA. "Sketch" always answers AV_PIX_FMT_YUV420P; "Comicbook", "Stretch" and "Focus Color"
 * answer AV_PIX_FMT_YUV420P when proposed, else AV_PIX_FMT_BGRA. "Comicbook" does nothing to a YUV 4:2:0 picture: propose
 * BGRA. Rendering also takes AV_PIX_FMT_RGBA, RGB0, BGR0 and YUVA420P (and BGR24 in "Sketch"), which are never answered.
 *
 * Codes are those of the libavutil that the library was built with, or the older fixed ones if it was built so. A host
 * knows that they are its own when the answer to ("Swirl", -1) is its AV_PIX_FMT_BGRA.
 *
 * @param name            display name, compared exactly; not null
 * @param proposedFormat  AVPixelFormat code of the pictures at hand; any value
 * @return the AVPixelFormat code to convert pictures to; -1 for an unknown name
 *
 * For "Sketch", and for "Focus Color" when AV_PIX_FMT_BGRA itself is proposed, the call fills the shared gray tables, once;
 * no picture of these effects may be in work on another thread during that first call. Until then gray is 0: when another
 * proposal to "Focus Color" has been answered with AV_PIX_FMT_BGRA, propose that as well. Otherwise any thread.
 */
NORIX_API int filter_check_format(const char* name, int proposedFormat);

/**
 * Renders one band of a picture with an effect.
 *
 * Writes the band's rows of `dst`, reads any row of `src`, keeps neither. The fourth byte of 4-byte pixels and the alpha
 * plane pass as each effect says in docs/effects.md.
 *
 * @param dst       picture to write, of `src`'s format and size; must not share memory with `src`; null: nothing happens
 * @param src       picture to read; its format, width and height govern; null: nothing happens
 * @param name      display name from NorixGetInfo(), compared exactly; not null
 * @param params    object from GetParamBuffer() for the same name, borrowed for the call; its class is not checked. Null:
 *                  the band is copied ("Comicbook" needs none and runs)
 * @param unused    ignored; pass 0
 * @param firstRow  first row of the band, in full-resolution rows from the top; even for 4:2:0 pictures cut into bands
 * @param rowCount  rows in the band
 * @return 0 when the effect took the call (also when format or size left nothing to do), -1 for an unknown name, for
 *         "Stretch" and for an effect that this version does not render; nothing is written then
 *
 * Any thread; see "Threads" above. "Sketch" on packed pictures, "Tile Scale" and "Ripple" allocate and may let
 * std::bad_alloc through, the others allocate nothing.
 */
NORIX_API int filter_video_frame(struct AVFrame* dst, struct AVFrame* src, const char* name, struct FilterParams* params,
                                 int64_t unused, int firstRow, int rowCount);

/**
 * Makes an effect's parameter object from a level, or sets the level of an existing one.
 *
 * An object that carries the same name is updated in place: only what the level controls changes. Any other object in
 * `*params` is released and replaced. "Tile Scale" objects carry no name and are replaced by every call.
 * "Comicbook", "Stretch" and unknown names have no object: another effect's in `*params` is released, `*params` becomes
 * null and `*size` keeps its value.
 *
 * @param name    display name, compared exactly; null: nothing happens
 * @param level   0 (weakest) to 10000 (strongest); not clamped, except that "Tile Scale" keeps its scale in 0.05 to 1
 * @param params  in: object from the previous call for this slot, or null; out: the object, with one reference that belongs
 *                to the host, ended by ReleaseParamBuffer(). Null: nothing happens
 * @param size    out: bytes of the object (32, 40, 48, 56 or 120); null: nothing happens
 *
 * One thread at a time per handle. May let std::bad_alloc through, the previous object then being released.
 */
NORIX_API void GetParamBuffer(const char* name, int level, struct FilterParams** params, int* size);

/**
 * Gives up one reference; the last one deletes the object.
 *
 * @param params  object, or null for nothing
 *
 * References are counted without atomics: one thread at a time per object.
 */
NORIX_API void ReleaseParamBuffer(struct FilterParams* params);

/**
 * Takes one more reference, to be ended by a ReleaseParamBuffer() of its own.
 *
 * @param params  object, or null
 * @return `params`
 *
 * One thread at a time per object.
 */
NORIX_API struct FilterParams* ReferenceParamBuffer(struct FilterParams* params);

/**
 * Copies an object: same class, same settings, tables included, one reference, which belongs to the host.
 *
 * @param params  object to copy, unchanged, or null
 * @return the copy, or null for null
 *
 * Threads may copy one object at the same time while nobody changes it. May let std::bad_alloc through.
 */
NORIX_API struct FilterParams* CloneParamBuffer(struct FilterParams* params);

/**
 * Fills a group effect's record for a moment of the transition.
 *
 * Groups: "Mirror Scale Blur", "Flip Roll Up", "Flip Roll Down", "Flip Roll Left", "Flip Roll Right", "Blurry Roll Down",
 * "Blurry Roll Left", "Blurry Cross Right Up", "Tile Zoom Blur", "Tile Zoom Blur 1". A record of the same group is reused:
 * its objects stay, their settings follow the time. A record of another group is released and replaced. An unknown group
 * yields a record with `count` 0.
 *
 * A record without a name is taken for the group's: its entries keep their names and, where they fit, their objects.
 * Entries that the group has no use for stay beyond `count`, where ReleaseFilterGroupParam() does not look.
 *
 * @param name   the group's name, compared exactly; null: a new empty record replaces `*group`, which is not released
 * @param time   0 (begin) to 10000 (end of the transition); not clamped
 * @param group  in: record from the previous call, or null; out: the record, owned by the host, ended by
 *               ReleaseFilterGroupParam(). Null: nothing happens
 *
 * One thread at a time per record. May let std::bad_alloc through.
 */
NORIX_API void GetFilterGroupParam(const char* name, int time, struct FilterGroupParam** group);

/**
 * Frees a record, its name, and names and references to parameter objects of the entries in use.
 *
 * @param group  record, or null for nothing
 *
 * One thread at a time per record.
 */
NORIX_API void ReleaseFilterGroupParam(struct FilterGroupParam* group);

#ifdef __cplusplus
}

static_assert(sizeof(void*) != 8 || sizeof(FilterGroupParam) == 24, "hosts read the record by its layout");
static_assert(sizeof(void*) != 8 || sizeof(FilterGroupEntry) == 72, "hosts read the entries by their layout");
#endif

#endif
