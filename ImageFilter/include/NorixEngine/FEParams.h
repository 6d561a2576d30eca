/**
 * @file
 * The parameter classes of NorixEngine's effects (C++).
 *
 * Hosts that are content with levels never need this header: GetParamBuffer() makes the objects and NorixEngine.h treats
 * them as opaque. Include it to set single fields. Objects live on the heap (`new SwirlParams`, GetParamBuffer(),
 * CloneParamBuffer()), are counted by reference and end with the last Release(). "Comicbook" and "Stretch" have no settings
 * and no class.
 *
 * Units. Centres and offsets are shares of the picture's width and height (0.5, 0.5 is the middle). Radii are shares of
 * both: a distance is sqrt((x / width)^2 + (y / height)^2), so a circle is an ellipse on a picture that is not square.
 * Angles are in degrees. Any double is allowed in any field, infinities and NaN included; the usual range stands with each.
 *
 * Threads. Several threads may read one object, and render with it, at the same time. Changing a field, AddRef() and
 * Release() need the object to themselves. "Focus Color" and "Tile Scale" write a negative `feather` or `scale` back as 0,
 * "Ripple" keeps its tables in its object.
 *
 * Order, types and sizes of all members are part of the binary interface.
 */
#ifndef NORIXENGINE_FEPARAMS_H
#define NORIXENGINE_FEPARAMS_H

#include <NorixEngine/NorixEngine.h>

#include <cstddef>
#include <cstdint>

/** What all settings share: a reference count and the effect's display name. */
struct NORIX_API FilterParams {
  std::int32_t refCount; /**< holders; 1 in a new object; deleted at 0 */
  const char* name;      /**< the effect's display name, a static string; null in TileScaleParams */

  FilterParams(const FilterParams&) = delete;
  FilterParams& operator=(const FilterParams&) = delete;
  virtual ~FilterParams();

  /** A new object of the same class with the same field values and one reference, which belongs to the caller. */
  virtual FilterParams* Clone() const = 0;

  /** Takes one more reference. */
  void AddRef();

  /** Gives up one reference; deletes the object when none is left. @return references left; meaningless once deleted. */
  int Release();

  /** @return `name`; owned by the library. */
  const char* GetFilterName() const;

protected:
  explicit FilterParams(const char* displayName);
};

/** "Swirl": twists the picture about a centre. */
struct NORIX_API SwirlParams final : FilterParams {
  double centerX = 0.5;
  double centerY = 0.5;
  double radius = 1.0;  /**< where the twist ends; 0 or less moves nothing */
  double angle = 180.0; /**< 0 to 360 from the level; 360 turns the centre by 8 radians; below 1e-5 copies */

  SwirlParams();
  ~SwirlParams() override;
  FilterParams* Clone() const override;
};

/** "Vignette": darkens the picture towards its edges. */
struct NORIX_API VignetteParams final : FilterParams {
  double centerX = 0.5;
  double centerY = 0.5;
  double innerRadius = 0.3;  /**< nearer than this, nothing changes; 0.4 to 0 from the level */
  double outerRadius = 0.75; /**< farther than this, black; 1.8 to 0 from the level */

  VignetteParams();
  ~VignetteParams() override;
  FilterParams* Clone() const override;
};

/** "Pinch": draws the middle of the picture together. */
struct NORIX_API PinchParams final : FilterParams {
  double centerX = 0.5;
  double centerY = 0.5;
  double radius = 1.0;   /**< where the effect ends; below 1e-5 copies */
  double strength = 0.5; /**< 0 to 1 from the level; below 1e-5 copies */

  PinchParams();
  ~PinchParams() override;
  FilterParams* Clone() const override;
};

/** "Bulge": magnifies the middle of the picture. */
struct NORIX_API BulgeParams final : FilterParams {
  double centerX = 0.5;
  double centerY = 0.5;
  double radius = 0.5;   /**< where the effect ends; below 1e-5 copies */
  double strength = 0.5; /**< 0 to 1 from the level; below 1e-5 copies; above 1 the very middle shrinks again */

  BulgeParams();
  ~BulgeParams() override;
  FilterParams* Clone() const override;
};

/** "Zoom Blur": smears the picture along the lines through a centre. */
struct NORIX_API ZoomBlurParams final : FilterParams {
  double centerX = 0.5;
  double centerY = 0.5;
  double strength = 1.0; /**< spacing of the nine taps in percent of the distance to the centre; 0 to 4 from the level;
                              below 1e-5 copies */

  ZoomBlurParams();
  ~ZoomBlurParams() override;
  FilterParams* Clone() const override;
};

/** "Motion Blur": smears the picture in one direction. */
struct NORIX_API MotionBlurParams final : FilterParams {
  double strength = 1.0; /**< spacing of the nine taps in pixels; 0 to 4 from the level; below 1e-5 copies */
  double angle = 0.0;    /**< direction, from rightwards to downwards; the level leaves it */

  MotionBlurParams();
  ~MotionBlurParams() override;
  FilterParams* Clone() const override;
};

/** Ripple's tables, kept between frames in the parameter object. Filled by the effect; hosts leave them alone. */
struct RippleTables {
  std::int32_t* offsetTable = nullptr; /**< owned: wave height by distance step and wave position */
  std::int32_t offsetCount = 0;        /**< elements of `offsetTable` */
  std::int32_t* weightTable = nullptr; /**< owned: distance step by distance in pixels */
  std::int32_t weightCount = 0;        /**< elements of `weightTable`: the larger side of the picture */
  std::int32_t tableDamping = 0;       /**< whole number of `damping` when `offsetTable` was built */
  std::int32_t tableAmplitude = 0;     /**< whole number of `amplitude` when `offsetTable` was built */
};

/** "Ripple": rings of waves about the middle of the picture. */
struct NORIX_API RippleParams final : FilterParams {
  double centerX = 0.5;   /**< not read: the rings lie about the middle of the picture */
  double centerY = 0.5;   /**< not read */
  double radius = 0.5;    /**< not read: the rings cover the picture; 0.2 to 0.7 from the level */
  double damping = 10.0;  /**< up to 101: the wave is 1024 / (101 - damping) table steps long; 90 from the level */
  double amplitude = 1.0; /**< height of the waves; 20 from the level */
  double phase = 0.0;     /**< moves the rings outward, one wavelength in 20; 0 to 80 from the level */
  RippleTables ownTables; /**< the table block */
  RippleTables* tables;   /**< this object's own `ownTables`, through which the effect reaches them */

  RippleParams();
  ~RippleParams() override;             /**< frees both tables */
  FilterParams* Clone() const override; /**< copies the tables as well */
};

/** "Ground Glass": the picture as seen through frosted glass. */
struct NORIX_API GroundGlassParams final : FilterParams {
  double amount = 0.0; /**< displacement in pixels, whole number counts; 0 to 20 from the level; below 1 copies */

  GroundGlassParams();
  ~GroundGlassParams() override;
  FilterParams* Clone() const override;
};

/** "Emboss": relief along one diagonal. */
struct NORIX_API EmbossParams final : FilterParams {
  double amount = 0.0; /**< relief strength, 0 to 1 from the level; below 1e-5 copies */

  EmbossParams();
  ~EmbossParams() override;
  FilterParams* Clone() const override;
};

/** "Sketch": pencil drawing. */
struct NORIX_API SketchParams final : FilterParams {
  double amount = 0.0; /**< brightness of the paper, 0 to 1 from the level */

  SketchParams();
  ~SketchParams() override;
  FilterParams* Clone() const override;
};

/** "Focus Color": colour inside a circle, gray outside. */
struct NORIX_API FocusColorParams final : FilterParams {
  double centerX = 0.5;
  double centerY = 0.5;
  double radius = 0.3;  /**< of the coloured circle, a share of half the picture's diagonal, in pixels a true circle;
                             0.25 from the level */
  double feather = 0.2; /**< width of the fade in the same unit, 0.25 to 0.75 from the level; negative is set to 0 */

  FocusColorParams();
  ~FocusColorParams() override;
  FilterParams* Clone() const override;
};

/** "Mirror Move X": moves the picture sideways over an endless strip of itself and its mirror image. */
struct NORIX_API MirrorMoveXParams final : FilterParams {
  double offset = 0.0; /**< move to the right in picture widths, 0 to 1 from the level; repeats every 2 */

  MirrorMoveXParams();
  ~MirrorMoveXParams() override;
  FilterParams* Clone() const override;
};

/** "Mirror Move Y": moves the picture up or down over an endless strip of itself and its mirror image. */
struct NORIX_API MirrorMoveYParams final : FilterParams {
  double offset = 0.0; /**< move downwards in picture heights, 0 to 1 from the level; repeats every 2 */

  MirrorMoveYParams();
  ~MirrorMoveYParams() override;
  FilterParams* Clone() const override;
};

/** "Tile Scale": the picture shrunk and repeated as tiles. Carries no name, so GetParamBuffer() always replaces it. */
struct NORIX_API TileScaleParams final : FilterParams {
  double scale =
      1.0; /**< size of a tile, 1 to 0.05 from the level; above 1 copies; negative is set to 0 and writes nothing */

  TileScaleParams();
  ~TileScaleParams() override;
  FilterParams* Clone() const override;
};

#endif
