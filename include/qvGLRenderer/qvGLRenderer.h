/**
 * @file qvGLRenderer.h
 * GPU renderer for live video frames: the one header that a C host includes (C99 or C++). docs/guide has more;
 * qvGLRenderer.hpp is the same for C++17, with handles that give themselves back.
 *
 * The library exports two functions. QVG_GetGLRendererInterface() starts it and returns a table of 64 function
 * pointers; QVG_ReleaseGLRendererInterface() takes the table back and tears everything down.
 *
 * Terms and rules that hold for every slot:
 *
 * - Threads. A slot marked [any] may be called on any thread, with or without a current context. A slot marked
 *   [GL] issues GL commands: call it on a thread on which a context of this library is current (GetSharedContext,
 *   then MakeCurrentContext). Textures and pixel buffers are shared by all contexts of the library; a frame buffer
 *   works only on the context on which it was created. An object may be used on one thread at a time.
 *   Only contexts of this library count: where none is current, or another one (the host's own GLX, EGL or WGL
 *   context), a [GL] slot answers its failure value, makes nothing, and issues no GL command. [any] slots, starting
 *   and releasing work there, too: what needs a context then happens on a thread of the library's own. The host's
 *   contexts, their objects, bindings and pending errors are never touched.
 * - State. A slot sets all state of the context that it depends on, whatever the host has left: programs, vertex
 *   arrays, textures and samplers of its units, frame buffers, viewport, masks, tests, blending, culling, polygon mode,
 *   pack and unpack state. A [GL] slot leaves the context with texture unit 0 active, with nothing bound to the units 0
 *   to 11, to the frame buffer, vertex array, program, array, pack and unpack buffer bindings that it used, with
 *   blending, tests, culling and the logical operation off, colours written, polygons filled, an alignment of 1 and row
 *   lengths and skips of 0. Slots 43 and 44 leave their frame buffer bound, slots 50 and 52 the window's. A GL error
 *   that is pending when a [GL] slot begins is dropped with a warning, and never taken for the slot's own.
 * - Order between contexts. Work submitted on one context is seen by another only after Finish() on the first.
 *   The library itself orders objects that its pools recycle, when they are given back on the context that used them
 *   last (or after Finish() there). That costs a fence for an object that is taken on one context and given back on
 *   another, and nothing for one that stays.
 * - Rows. A frame in memory begins with row 0; texture row 0 is at the bottom of GL's coordinates. An upload stores
 *   frame row 0 as texture row 0, so a top-down frame lies upside down in GL's sense: the texture's "flipped" flag
 *   is then true. YUV read-backs write the picture's top row first, going by that flag, and slot 52 and effects go by
 *   it, too; RGB read-backs write texture row 0 first unless told otherwise, and slot 45 lays row on row. So the
 *   argument `flipped` of slots 21 and 22, which says that the frame is bottom-up, leads to the flag false.
 * - Content. A texture's storage may be larger than its picture. The content rectangle (origin and size, in texels)
 *   says where the picture lies; every operation reads and writes that rectangle only.
 * - Alpha. Uploads are straight: colours are stored as they come. The result of an effect is premultiplied: its
 *   colours are multiplied by their alpha. A texture knows which it is, and so does a copy of it. Slot 45 (for source
 *   and matte) and slot 52 take both, so that a keyed picture has no dark rim; read-backs and GetTextureId show what is
 *   stored. Slot 61 takes its input for premultiplied, whatever the texture knows: for opaque frames that is the same;
 *   colours of transparent ones the host multiplies by their alpha before the upload.
 * - Range. YUV frames are taken as full-range BT.601, NV12 and I420 are written as limited-range BT.601: a frame that
 *   goes through unchanged comes out pale, black at 30 of 255 and white at 218. Frames of video, which are mostly
 *   limited-range, the host expands first (luma: (Y - 16) * 255 / 219, chroma: 128 + (C - 128) * 255 / 224), or uploads
 *   as RGB. What is read back is told to the encoder as limited-range BT.601. Who wants full range reads RGBA or BGRA
 *   and converts that: slot 35's fullRange leaves out the chroma's offset.
 * - Cost. Most [GL] slots submit work and return; it is done when somebody asks for its result. These wait: slots 35 to
 *   38, for the GPU to finish what the picture depends on; slots 18 and 47; slots 13, 50 and 52, for the display, once
 *   a frame. Slots 8, 9, 41, 42, 48 and 59, and a first upload or read-back of a size, make objects: before the loop.
 *   A first use of a kind of draw compiles a program, for effects slot 60 does: a tenth of a second on a software
 *   renderer. [any] slots of textures (24 to 34) cost nothing.
 * - Values. Colours and opacity are 0..1, sizes are pixels, strides are bytes, angles are degrees unless a field
 *   says otherwise. bool is one byte. Of an integer given for a switch (slot 60) the first byte counts, as of a bool:
 *   256 is off. Use 0 and 1, or QVG_PARAM_BOOLEAN.
 * - Handles belong to the library. Give each back through the slot named with it; that slot writes null into your
 *   variable. Handles that are still held when the library is released become invalid, whichever thread holds them:
 *   stop your rendering threads, and release their contexts, before QVG_ReleaseGLRendererInterface(). A release waits
 *   for calls in progress on other threads; a call that comes later starts the library again. Slots 24 to 34, 49 and
 *   51 only look at their handle: don't call them while, or after, it is given back or the library is released.
 * - Failure is false, null or 0. When something went wrong inside, an error line in the log says what; a call that is
 *   refused is logged as one warning, with the slot, the argument and what was expected of it, and again only at the
 *   10th, 100th, 1000th time. No slot throws. Handles are checked for null only. A call that fails leaves nothing
 *   behind.
 * - The log goes to standard output, on Windows to the debugger, too. QVG_LOG_LEVEL in the environment, read once,
 *   limits it: off, error, warning, info or debug (everything, also when it is not set).
 * - The display. The library starts on the first one that works of: the X server that DISPLAY names, a GPU device of
 *   EGL, Mesa's surfaceless platform, a software device. QVG_CONTEXT in the environment, read at each start, allows one
 *   kind only: x11, device (a GPU or a software device), device:N (EGL's device of that number, from 0; qvg info lists
 *   them), or surfaceless. Windows has wgl alone.
 * - Debuggers of OpenGL. With QVG_GL_LABELS=1 in the environment, read at each start, GL objects have names and slots
 *   and passes are groups of calls (KHR_debug), as in debug contexts and under tools that announce themselves
 *   (GL_EXT_debug_tool); QVG_GL_LABELS=0 turns that off. Otherwise it costs nothing.
 * - The end of the process. A host may return from main or call exit() at any time, with or without a release, also
 *   while other threads render: calls in progress get up to half a second to leave the driver, later ones fail at once.
 *   A release from then on (from a static destructor, say) only writes null.
 */
#ifndef QVGLRENDERER_QVGLRENDERER_H
#define QVGLRENDERER_QVGLRENDERER_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#include "qvGLRendererVersion.h"

#if defined(_WIN32)
#if defined(QVG_BUILDING_LIBRARY)
#define QVG_API __declspec(dllexport)
#elif defined(QVG_STATIC)
#define QVG_API
#else
#define QVG_API __declspec(dllimport)
#endif
#else
#define QVG_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Handles ------------------------------------------------------------------------------------------------ */

typedef struct QVGGLContext QVGGLContext;     /**< A GL context made by the library. */
typedef struct QVGTexture QVGTexture;         /**< A pooled GL texture with its content rectangle. */
typedef struct QVGFrameBuffer QVGFrameBuffer; /**< A render target with its camera. */
typedef struct QVGWndDrawer QVGWndDrawer;     /**< Presents textures in one window of the host. */
typedef struct QVGEffect QVGEffect;           /**< An instance of a named effect. */

/* ---- Configuration ------------------------------------------------------------------------------------------ */

/** A decoded image, owned by the host. The library reads the pixels and the size only. */
typedef struct QVGHostImage {
  const uint8_t* pixels; /**< Rows top-down without padding, 4 bytes a pixel in the order B, G, R, A; straight alpha. */
  uint8_t host[28];      /**< The host's own; never touched by the library. */
  int32_t width;         /**< Pixels. */
  int32_t height;        /**< Pixels. */
} QVGHostImage;

/**
 * Decodes the image at a path. Called on the thread that needs the image, while the library holds the lock of its
 * resource cache: it must not call back into the table.
 * @param path NUL-terminated path, as given to an effect's file parameter.
 * @return the image, or null when it can't be read.
 */
typedef QVGHostImage* (*QVGDecodeImage)(const char* path);

/** Takes back an image that QVGDecodeImage returned for the path. The same rule as for decoding holds. */
typedef void (*QVGFreeImage)(const char* path, QVGHostImage* image);

/** What the host gives to QVG_GetGLRendererInterface(). Copied: it may be freed when the call returns. */
typedef struct QVGConfig {
  char text[2048];            /**< NUL-terminated; kept, at present without a meaning. */
  QVGDecodeImage decodeImage; /**< May be null: then no image can be loaded by path. */
  QVGFreeImage freeImage;     /**< May be null: then images are never given back. */
} QVGConfig;

/* ---- Frames in memory --------------------------------------------------------------------------------------- */

/** Layouts of a frame in memory. 8 bits a channel unless said otherwise. */
enum QVGPixelFormat {
  QVG_FORMAT_NV12 = 2,     /**< Y plane; U,V pairs at half width and half height. */
  QVG_FORMAT_YUV16_SP = 3, /**< 16-bit Y plane, 16-bit U,V pairs at half height; values in the high bits. Pairs at
                                half width (P010, P016), or at full width when stride[1] >= 2 * stride[0]. A
                                stride[0] below 2 * width counts texels, of both planes, with pairs at full width. */
  QVG_FORMAT_I444 = 4,     /**< Y, U, V planes at full size. */
  QVG_FORMAT_I420 = 6,     /**< Y, U, V planes, chroma at half width and half height. */
  QVG_FORMAT_I422 = 8,     /**< Y, U, V planes, chroma at half width. */
  QVG_FORMAT_RGBA = 11,    /**< 4 bytes a pixel: R, G, B, A. */
  QVG_FORMAT_ARGB = 12,    /**< 4 bytes a pixel: A, R, G, B. */
  QVG_FORMAT_RGB = 13,     /**< 3 bytes a pixel: R, G, B. */
  QVG_FORMAT_BGRA = 14,    /**< 4 bytes a pixel: B, G, R, A. */
  QVG_FORMAT_ABGR = 15,    /**< 4 bytes a pixel: A, B, G, R. */
  QVG_FORMAT_BGR = 16,     /**< 3 bytes a pixel: B, G, R. */
  QVG_FORMAT_RGBX332 = 17, /**< 4 bytes a pixel: R, G, B, unused; stored with 3, 3 and 2 bits. */
  QVG_FORMAT_J420 = 19,    /**< As I420, full range. */
  QVG_FORMAT_J422 = 20,    /**< As I422, full range. */
  QVG_FORMAT_J444 = 21     /**< As I444, full range. */
};

/**
 * A frame in memory. For uploads the host fills it; read-backs fill it and lend their memory until
 * ReleasePixelBuffer. Chroma planes of odd sizes round up on upload. Uploads convert every YUV frame with the
 * full-range BT.601 formulas (ITU-R BT.601; the range of the format code is not read).
 */
typedef struct QVGPixelBuffer {
  uint8_t* plane[3]; /**< First byte of each plane; unused planes are null. */
  int32_t stride[3]; /**< Bytes from one row to the next. The last row may end with its last pixel. */
  int32_t width;     /**< Pixels, 1 up to the driver's texture limit. */
  int32_t height;    /**< Pixels, 1 up to the driver's texture limit. */
  int32_t reserved;  /**< Neither read nor written. */
  int32_t kind;      /**< 2 after a read-back; not read. */
  int32_t format;    /**< A QVGPixelFormat. */
} QVGPixelBuffer;

/* Inline functions of this header need no library, and stay within C99 and C++. */
#ifdef __cplusplus
#define QVG_INLINE inline
#define QVG_CAST(type, value) static_cast<type>(value)
#define QVG_UNCONST(type, pointer) const_cast<type*>(static_cast<const type*>(pointer))
#else
#define QVG_INLINE static inline
#define QVG_CAST(type, value) ((type)(value))
#define QVG_UNCONST(type, pointer) ((type*)(uintptr_t)(pointer))
#endif

/**
 * Describes a frame that lies in one piece, for uploads: each plane begins where the one before it ends. [any]
 * @param buffer its strides, planes, size and format are filled, the rest is 0.
 * @param pixels the frame; null leaves the planes null. It is only read, though the descriptor can't say so.
 * @param stride bytes from one row of the first plane to the next; 0: as many as a row has. The other planes have the
 *        strides that belong to it, as V4L2 and most decoders lay frames out: as many bytes for the pairs of NV12 and
 *        YUV16_SP and for I444 and J444, half of them, rounded up, for the chroma of I420, J420, I422 and J422, and
 *        never less than a row needs. Pairs of YUV16_SP are at half width. Fill in other strides yourself.
 * @return the bytes from the first pixel to the end of the last row, padding included. 0, with nothing filled, for
 *         null, an unknown format, a width or height below 1, or a stride that is too small or too large.
 */
QVG_INLINE size_t QVG_PixelBufferFromPointer(QVGPixelBuffer* buffer, int32_t format, int32_t width, int32_t height,
                                             const void* pixels, int32_t stride) {
  /* Format; bytes of a pixel in the first plane; number of further planes, bytes of a sample there (of a pair, where U
     and V share the plane), and pixels that share a sample, across and down. */
  const int32_t layouts[][6] = {
      {QVG_FORMAT_RGBA, 4, 0, 0, 1, 1},    {QVG_FORMAT_ARGB, 4, 0, 0, 1, 1}, {QVG_FORMAT_RGB, 3, 0, 0, 1, 1},
      {QVG_FORMAT_BGRA, 4, 0, 0, 1, 1},    {QVG_FORMAT_ABGR, 4, 0, 0, 1, 1}, {QVG_FORMAT_BGR, 3, 0, 0, 1, 1},
      {QVG_FORMAT_RGBX332, 4, 0, 0, 1, 1}, {QVG_FORMAT_NV12, 1, 1, 2, 2, 2}, {QVG_FORMAT_YUV16_SP, 2, 1, 4, 2, 2},
      {QVG_FORMAT_I420, 1, 2, 1, 2, 2},    {QVG_FORMAT_I422, 1, 2, 1, 2, 1}, {QVG_FORMAT_I444, 1, 2, 1, 1, 1},
      {QVG_FORMAT_J420, 1, 2, 1, 2, 2},    {QVG_FORMAT_J422, 1, 2, 1, 2, 1}, {QVG_FORMAT_J444, 1, 2, 1, 1, 1}};
  const int count = QVG_CAST(int, sizeof layouts / sizeof layouts[0]);
  int row = 0;
  while (row < count && layouts[row][0] != format) ++row;
  if (!buffer || row == count || width < 1 || height < 1) return 0;

  const int64_t pixelBytes = layouts[row][1], sampleBytes = layouts[row][3];
  const int64_t across = layouts[row][4], down = layouts[row][5];
  const int others = layouts[row][2];
  const int64_t first = stride != 0 ? stride : pixelBytes * width;
  const int64_t rowOfSamples = (width + across - 1) / across * sampleBytes;
  const int64_t matching = (first * sampleBytes + pixelBytes * across - 1) / (pixelBytes * across);
  const int64_t other = matching > rowOfSamples ? matching : rowOfSamples;
  if (first < pixelBytes * width || first > INT32_MAX || other > INT32_MAX) return 0;

  const QVGPixelBuffer empty = {{0, 0, 0}, {0, 0, 0}, 0, 0, 0, 0, 0};
  *buffer = empty;
  buffer->width = width;
  buffer->height = height;
  buffer->format = format;
  size_t bytes = 0;
  for (int plane = 0; plane <= others; ++plane) {
    const int64_t bytesOfRow = plane == 0 ? first : other;
    const int64_t rows = plane == 0 ? height : (height + down - 1) / down;
    if (pixels) buffer->plane[plane] = QVG_UNCONST(uint8_t, pixels) + bytes;
    buffer->stride[plane] = QVG_CAST(int32_t, bytesOfRow);
    bytes += QVG_CAST(size_t, bytesOfRow * rows);
  }
  return bytes;
}

/** The bytes that such a frame takes, and so what to allocate for it; 0 as above. [any] */
QVG_INLINE size_t QVG_PixelBufferSize(int32_t format, int32_t width, int32_t height, int32_t stride) {
  QVGPixelBuffer buffer;
  return QVG_PixelBufferFromPointer(&buffer, format, width, height, 0, stride);
}

#undef QVG_INLINE
#undef QVG_CAST
#undef QVG_UNCONST

/** A colour, passed by value. */
typedef struct QVGColor {
  double r, g, b, a; /**< 0..1 each. */
} QVGColor;

/* ---- Drawing ------------------------------------------------------------------------------------------------ */

/** How an alpha A is changed by the matte's colour M at the same place of the target. */
enum QVGMatteType {
  QVG_MATTE_NONE = 0,
  QVG_MATTE_ALPHA = 1,          /**< A * M.a */
  QVG_MATTE_ALPHA_INVERTED = 2, /**< A * (1 - M.a) */
  QVG_MATTE_LUMA = 3,           /**< A * M.r * M.a */
  QVG_MATTE_LUMA_INVERTED = 4   /**< A * (1 - M.r * M.a) */
};

/** Blend types; s is what is drawn, d what is there. Types not listed blend as QVG_BLEND_NORMAL. */
enum QVGBlendType {
  QVG_BLEND_NONE = -1,      /**< Replaces colour and alpha of the target. */
  QVG_BLEND_NORMAL = 0,     /**< s over d */
  QVG_BLEND_ADD = 1,        /**< s + d */
  QVG_BLEND_LUMINOSITY = 6, /**< s with the luminosity of d */
  QVG_BLEND_COLOR_BURN = 7,
  QVG_BLEND_COLOR_DODGE = 8,
  QVG_BLEND_DARKEN = 10,       /**< min(s, d) per channel */
  QVG_BLEND_DARKER_COLOR = 11, /**< whichever of s and d is darker as a whole */
  QVG_BLEND_HARD_LIGHT = 16,
  QVG_BLEND_LIGHTEN = 19,  /**< max(s, d) per channel */
  QVG_BLEND_MULTIPLY = 26, /**< s * d */
  QVG_BLEND_OVERLAY = 27,
  QVG_BLEND_SCREEN = 30,      /**< s + d - s * d */
  QVG_BLEND_ERASE_ALPHA = 31, /**< d where s is transparent */
  QVG_BLEND_ERASE_LUMA = 32,  /**< d where s is dark or transparent */
  QVG_BLEND_SOFT_LIGHT = 33,
  QVG_BLEND_MASK_ALPHA = 34, /**< d where s is opaque */
  QVG_BLEND_MASK_LUMA = 35   /**< d where s is bright and opaque */
};

/**
 * How DrawTexture draws. A null pointer means the defaults given here; begin with QVG_DRAW_TEXTURE_PARAMS_INIT, as one
 * that is all zero has scale 0 and opacity 0, and draws nothing. Positions are pixels of the target with the
 * origin in its centre, x to the right, y towards the last texture row, z towards the eye.
 */
typedef struct QVGDrawTextureParams {
  QVGTexture* matteTexture;  /**< Null; its content is laid over the target's whole content. */
  int32_t blendType;         /**< QVG_BLEND_NONE. */
  int32_t matteType;         /**< QVG_MATTE_NONE; without a matte texture no matte is applied. */
  bool simpleMatte;          /**< false; true keeps a centred part of the target only. */
  bool depthTest;            /**< false; true tests with "less or equal" against the target's depth buffer. */
  bool useSizeFactor;        /**< false; true multiplies the picture's size by sizeFactor. */
  double opacity;            /**< 1; multiplies the alpha. */
  double anchor[3];          /**< 0; the point of the picture that translation moves and rotation turns about. */
  double translation[3];     /**< 0 */
  double scale[3];           /**< 1 */
  double rotation[3];        /**< 0; degrees about x, y and z. Scaled first, then turned about z, y, x, then moved. */
  double simpleMatteSize[2]; /**< 1; width and height kept, as fractions of the target's content. */
  double sizeFactor[2];      /**< 1 */
} QVGDrawTextureParams;

/** Initialises a QVGDrawTextureParams with the defaults. */
/* clang-format off */
#define QVG_DRAW_TEXTURE_PARAMS_INIT \
  {0, QVG_BLEND_NONE, QVG_MATTE_NONE, false, false, false, 1, {0, 0, 0}, {0, 0, 0}, {1, 1, 1}, {0, 0, 0}, {1, 1}, {1, 1}}
/* clang-format on */

/** Camera of a frame buffer. */
typedef struct QVGCamera {
  int32_t projection;                                  /**< 1 orthographic, other values perspective. */
  float left, right, top, bottom, orthoNear, orthoFar; /**< Orthographic extents. */
  float fovy;                                          /**< Perspective: vertical field of view, radians. */
  float aspect, perspectiveNear, perspectiveFar;       /**< Perspective. */
  float eye[3], centre[3], up[3];                      /**< View. */
} QVGCamera;

/** Full description of a frame buffer. */
typedef struct QVGFrameBufferDesc {
  int32_t width, height;  /**< Pixels. */
  int32_t stored;         /**< Kept with the frame buffer, without a meaning. */
  bool depthStencil;      /**< true: with a depth and stencil buffer. */
  bool colorRenderBuffer; /**< true: with a colour buffer of its own; false: for a texture bound later. */
  QVGCamera camera;
} QVGFrameBufferDesc;

/* ---- Effects ------------------------------------------------------------------------------------------------ */

/*
 * There is one effect, "general_eff", of type 1. In one pass over a frame it keys out a colour, smooths and whitens
 * skin, corrects colour and lays the result over an image; each stage runs when its switch is on. Its parameters are in
 * the table of slot 58 with ranges and defaults; integers out of range count as the nearest in range:
 *
 *   enable_key     switch: keying
 *   color          colour that becomes transparent. It has no value until it is set, whatever the table's default says.
 *   similarity     per mille: pixels whose chroma is nearer to the colour's than this are transparent
 *   smoothness     per mille beyond that, over which pixels become opaque; 1 is a hard edge
 *   anti-spill     per mille beyond that, over which a tint of the colour is turned to grey
 *   enable_beauty  switch: skin
 *   blur           smoothing of skin: strength in percent and, as a number of texels, its reach
 *   whitten        whitening of skin, percent
 *   enable_color   switch: colour correction
 *   bright         brightness, percent: 100 doubles it, -100 is black
 *   temperature    percent: cooler below 0, warmer above
 *   highlight      percent; at present without an effect on the picture
 *   shadow         percent by which dark parts are lightened
 *   enable_bg      switch: background
 *   bgfile         path of an image for QVGDecodeImage, shown upright behind the frame and stretched to its shape.
 *                  Null, an empty path or an image that can't be read: none. A path is decoded once and kept, on the
 *                  GPU, until the library is released; a file that changes is not noticed.
 *
 * Frames are taken, and outputs given, with premultiplied alpha. What a parameter of 0 leaves out costs nothing. A
 * program for the stages and parameters that are in use is compiled when one of them is set, if it is new: that may
 * take a tenth of a second on a software renderer.
 */

/** Types of parameter values. */
enum QVGParamType { QVG_PARAM_INTEGER = 0, QVG_PARAM_BOOLEAN = 2, QVG_PARAM_TEXT = 3, QVG_PARAM_COLOR = 5 };

/** A typed value. */
typedef struct QVGParamValue {
  int32_t type; /**< A QVGParamType; says which member of value counts. */
  union {
    int64_t integer;
    bool boolean;
    const char* text; /**< NUL-terminated, may be null; copied. */
    double color[3];  /**< R, G, B, 0..1. */
  } value;
} QVGParamValue;

/** One row of an effect's parameter table; owned by the library, valid until the library is unloaded. */
typedef struct QVGParamDescriptor {
  char name[128];      /**< Key for SetEffectParameter. */
  char label[384];     /**< Text for people, UTF-8. */
  int32_t controlKind; /**< 0 slider, 2 switch or file, as valueType tells; 2 colour picker for colours. */
  int32_t valueType;   /**< A QVGParamType. */
  int32_t valueType2;  /**< The same once more. */
  QVGParamValue defaultValue;
  QVGParamValue minimum; /**< Integers only. */
  QVGParamValue maximum; /**< Integers only. */
  QVGParamValue step;    /**< Integers only. */
} QVGParamDescriptor;

/* ---- The table ---------------------------------------------------------------------------------------------- */

/** The 64 slots, in order. */
typedef struct QVGGLRendererInterface {
  /* Pools */

  /** 0 [any] Sets the texture pool's budget to max(count - 60, 100) MiB; count < 1 changes nothing. Above the budget
   *  idle textures are destroyed in the background, oldest first; textures that the host holds count, but stay. */
  void (*SetTexturePoolCapacity)(int32_t count);
  /** 1 [any] Does nothing. */
  void (*Reserved)(void);
  /** 2 [GL] Makes count RGBA textures of the size and leaves them idle in the pool; fewer when its budget is
   *  exceeded or memory runs out. */
  void (*PreallocateTextures)(uint32_t width, uint32_t height, int32_t count);
  /** 3 [GL] Destroys every idle texture of the pool. @return true; false without a pool. */
  bool (*ClearTexturePool)(void);
  /** 4 [GL] Makes count RGBA render buffers of the size and leaves them idle in the pool. */
  void (*PreallocateRenderBuffers)(uint32_t width, uint32_t height, int32_t count);
  /** 5 [GL] Deletes every idle render buffer. @return true; false without a pool. */
  bool (*ClearRenderBufferPool)(void);
  /** 6 [GL] Makes count pixel buffers of size bytes and leaves them idle in the pool. forRead: for RGBA and BGRA
   *  read-backs; otherwise for YUV read-backs. Pixel buffers and render buffers have no budget: what was used once
   *  stays, until slot 7 or 5 or the release. A host whose sizes change clears them then. */
  void (*PreallocatePixelBuffers)(uint32_t size, int32_t count, bool forRead);
  /** 7 [GL] Deletes every idle pixel buffer, and frees idle memory for repacking rows. @return true; false without
   *  a pool. */
  bool (*ClearPixelBufferPool)(void);

  /* Contexts */

  /** 8 [any] A new context that shares objects with all others. reserved is ignored. With useHiddenWindow a hidden
   *  surface is made and window ignored; otherwise window is the host's window (Windows: HWND; Linux: X11 window id
   *  cast to a pointer; null counts as useHiddenWindow), which must outlive the context. Current nowhere yet. Give
   *  back with DestroySharedContext. @return null when the library is not running, the window is none of this
   *  display's, or the driver refuses. */
  QVGGLContext* (*CreateSharedContext)(void* reserved, void* window, bool useHiddenWindow);
  /** 9 [any] A context without a window, recycled when one is idle, else new. Give back with ReleaseSharedContext.
   *  @return null on failure. */
  QVGGLContext* (*GetSharedContext)(void);
  /** 10 [any] Gives a context back and writes null; a hidden one for reuse, one on a window of the host's is destroyed.
   *  If it is current on the calling thread it is unbound;
   *  it must not be current on another. @return true; false when the library is not running or the handle is no
   *  live context. */
  bool (*ReleaseSharedContext)(QVGGLContext** context);
  /** 11 [any] Makes the context current on the calling thread; null unbinds what is current. previous, when not null,
   *  receives the context of this library that was current before, or null. @return false when the driver refuses. */
  bool (*MakeCurrentContext)(QVGGLContext* context, QVGGLContext** previous);
  /** 12 [any] The context of this library that is current on the calling thread, or null. */
  QVGGLContext* (*GetCurrentContext)(void);
  /** 13 [any] Swaps the buffers of the context's window; may wait for the display. Of several windows that one thread
   *  shows in turns one waits. @return false on failure. */
  bool (*SwapBuffers)(QVGGLContext* context);
  /** 14 [any] Destroys a context and writes null. It must not be current on another thread. */
  void (*DestroySharedContext)(QVGGLContext** context);

  /* Versions */

  /** 15 [any] true when the driver's OpenGL is at least the required version. */
  bool (*IsGLVersionSupported)(void);
  /** 16 [any] The driver's OpenGL version, 0.0 when the library could not start. Either pointer may be null. */
  void (*GetGLVersion)(int32_t* major, int32_t* minor);
  /** 17 [any] The required version, 4.2. Either pointer may be null. */
  void (*GetRequiredGLVersion)(int32_t* major, int32_t* minor);

  /* Textures. Every texture returned here or by an upload is given back with ReleaseTexture. */

  /** 18 [GL] A copy of the texture's content, with its channel order, alpha, flipped flag and rotation. It is complete
   *  when the call returns. @return null on failure. */
  QVGTexture* (*CloneTexture)(QVGTexture* source);
  /** 19 [GL] How the stored channels are read when sampled: 0 BGRA, 1 RGBA (as stored), 2 ABGR, 3 ARGB (of bytes that
   *  were stored in that order). Stays until the next upload, clear, or use as a target, which store R, G, B, A.
   *  @return false for another order, null or a GL error. */
  bool (*SetTextureChannelOrder)(QVGTexture* texture, int32_t order);
  /** 20 [GL] An RGBA texture, 8 bits a channel, with undefined content of width x height pixels.
   *  @return null for a size of 0 or above the driver's limit, or without memory. */
  QVGTexture* (*AcquireTexture)(uint32_t width, uint32_t height);
  /** 21 [GL] A new texture with the frame (sized as it). flipped: the frame is bottom-up. matteRGB: pixels of 4-byte
   *  RGB formats that equal matte in all four channels within 0.003 become (0, 0, 0, 0), all others opaque; the flag
   *  "flipped" is then true and `flipped` turns the rows over. The frame's memory is not read after the call.
   *  @return null for a bad frame (see UploadPixelBufferToTexture) or on failure. */
  QVGTexture* (*UploadPixelBufferToNewTexture)(const QVGPixelBuffer* source, bool flipped, bool matteRGB,
                                               QVGColor matte);
  /** 22 [GL] The same into a texture. RGB frames need a texture whose storage has the kind that slot 21 makes for the
   *  format (RGBA for 4-byte formats, RGB for 3-byte ones, one of its own for RGBX332) and at least the frame's size;
   *  the content becomes the frame's size, centred. YUV frames are scaled to the texture's content size. @return
   *  false for null, an unknown format, a missing plane, a size out of range, a stride below the row's bytes, an
   *  unfit texture, or a GL error. */
  bool (*UploadPixelBufferToTexture)(QVGTexture* destination, const QVGPixelBuffer* source, bool flipped, bool matteRGB,
                                     QVGColor matte);
  /** 23 [GL] Fills the content with the colour (R, G, B, A). @return false for null or on failure. */
  bool (*ClearTexture)(QVGTexture* texture, const double rgba[4]);
  /** 24 [any] Width of the content in pixels; 0 for null. */
  uint32_t (*GetTextureWidth)(const QVGTexture* texture);
  /** 25 [any] Height of the content in pixels; 0 for null. */
  uint32_t (*GetTextureHeight)(const QVGTexture* texture);
  /** 26 [any] Width of the storage in texels; 0 for null. */
  uint32_t (*GetTextureAllocatedWidth)(const QVGTexture* texture);
  /** 27 [any] Height of the storage in texels; 0 for null. */
  uint32_t (*GetTextureAllocatedHeight)(const QVGTexture* texture);
  /** 28 [any] Quarter turns with which the texture is drawn and presented; 0 for null. */
  uint32_t (*GetTextureRotation)(const QVGTexture* texture);
  /** 29 [any] true when the rows are stored bottom-up in GL's sense; false for null. */
  bool (*GetTextureFlipped)(const QVGTexture* texture);
  /** 30 [any] GL name of the texture (GL_TEXTURE_2D); 0 for null. Owned by the library. */
  uint32_t (*GetTextureId)(const QVGTexture* texture);
  /** 31 [any] Sets the size of the content; storage and origin stay. Keep it inside the storage. */
  bool (*SetTextureSize)(QVGTexture* texture, uint32_t width, uint32_t height);
  /** 32 [any] Sets the origin of the content, in texels from texture row and column 0. */
  bool (*SetTextureOrigin)(QVGTexture* texture, uint32_t x, uint32_t y);
  /** 33 [any] Sets the flipped flag. */
  bool (*SetTextureFlipped)(QVGTexture* texture, bool flipped);
  /** 34 [any] Sets the quarter turns, read modulo 4. Read-backs ignore them. */
  bool (*SetTextureRotation)(QVGTexture* texture, uint32_t quarterTurns);

  /* Read-back. The memory that plane[] points to is readable until ReleasePixelBuffer, on any thread. */

  /** 35 [GL] Reads the content as planar 4:2:0: strides (w, w/2, w/2), w/2 x h/2 chroma, integer division. fullRange:
   *  format J420, with chroma values not raised to 0.5; otherwise format I420, limited range. mirror: left and right
   *  exchanged. The picture's top row comes first. Widths that are no multiple of 4 and odd heights are
   *  slower, and fail for heights above two thirds of the driver's texture limit. Alpha is left out.
   *  @return false on failure; the planes in out are then null. */
  bool (*TextureToYUV420PixelBuffer)(QVGTexture* source, bool fullRange, bool mirror, QVGPixelBuffer* out);
  /** 36 [GL] Reads the content as NV12, limited-range BT.601, strides (w, w, 0). As slot 35 otherwise; mirrored it
   *  is as slow as an odd size. */
  bool (*TextureToNV12PixelBuffer)(QVGTexture* source, QVGPixelBuffer* out, bool mirror);
  /** 37 [GL] Reads the content as R, G, B, A bytes, stride 4 * w, texture row 0 first; flip: last row first. That
   *  is the picture's top for flipped textures (uploads), and its bottom for others (results of effects). */
  bool (*TextureToRGBAPixelBuffer)(QVGTexture* source, QVGPixelBuffer* out, bool flip);
  /** 38 [GL] The same as B, G, R, A bytes. */
  bool (*TextureToBGRAPixelBuffer)(QVGTexture* source, QVGPixelBuffer* out, bool flip);
  /** 39 [any] Gives the memory of a read-back back, and writes null into its planes and into the pointer variable. The
   *  descriptor's memory stays the host's. Nothing happens to one that no read-back filled. */
  void (*ReleasePixelBuffer)(QVGPixelBuffer** buffer);
  /** 40 [any] Gives a texture back to the pool and writes null. */
  void (*ReleaseTexture)(QVGTexture** texture);

  /* Frame buffers and drawing */

  /** 41 [GL] A frame buffer with an orthographic camera in pixels, origin in the centre. ownColor: with a colour buffer
   *  of its own, whose size it keeps; otherwise bind a texture; a size of 0 then means that of what is bound. stored:
   *  kept, without a meaning. Give back with DestroyFrameBuffer. @return null on failure. */
  QVGFrameBuffer* (*CreateFrameBuffer)(uint32_t width, uint32_t height, bool ownColor, bool stored);
  /** 42 [GL] The same from a full description; null gives null. */
  QVGFrameBuffer* (*CreateFrameBufferFromDesc)(const QVGFrameBufferDesc* desc);
  /** 43 [GL] Draws into the texture's content from now on; the texture stays the caller's. What is drawn is stored as
   *  straight R, G, B, A: a texture of another channel order or with premultiplied alpha is brought into that form
   *  first and looks the same, and one whose format the driver can't draw to gets other storage, with another GL
   *  name. The depth buffer may be replaced: clear it afterwards. Keep the texture until another is bound or the frame
   *  buffer is destroyed, if you still draw to it. @return false for null, when the frame buffer has buffers of
   *  another size, on another context than the frame buffer's, or on failure. */
  bool (*BindTextureToFrameBuffer)(QVGFrameBuffer* frameBuffer, QVGTexture* texture);
  /** 44 [GL] Fills the content with the colour (R, G, B, A), and the depth buffer. @return false for null or on
   *  failure. */
  bool (*ClearFrameBuffer)(QVGFrameBuffer* frameBuffer, const double rgba[4]);
  /** 45 [GL] Draws the texture's content, turned by its rotation, into the frame buffer; null params mean the
   *  defaults. The flipped flags are not read: row 0 of the source comes to row 0 of the target. Where one of the two
   *  is flipped and the other is not, as with the result of an effect over an uploaded frame, give a scale[1] of -1, or
   *  it stands on its head. A target of slot 20 is not flipped: draw uploads into it as they are and set its flag
   *  (slot 33), as its row 0 is then the top. Source or matte may be the target itself. @return false when source or
   * destination is null, when the frame buffer belongs to another context, or on failure. */
  bool (*DrawTexture)(QVGTexture* source, QVGFrameBuffer* destination, const QVGDrawTextureParams* params);
  /** 46 [any] Destroys a frame buffer and writes null. On another context than its own the GL name waits until that
   *  one is next used. @return false for null. */
  bool (*DestroyFrameBuffer)(QVGFrameBuffer** frameBuffer);
  /** 47 [GL] Waits until all work submitted on the current context is done. */
  void (*Finish)(void);

  /* Windows */

  /** 48 [any] A drawer for the host's window (Windows: HWND; Linux: X11 window id cast to a pointer, of the display
   *  that DISPLAY names; the id of another display's window can't be told from one of this display's). The window
   *  should outlive it; when it does not, nothing is shown any more. What was current stays current. Give back with
   *  DestroyWndDrawer. @return null for null, for what is no window, or on failure. */
  QVGWndDrawer* (*CreateWndDrawer)(void* window);
  /** 49 [any] The drawer's context, for MakeCurrentContext; null for null. Owned by the drawer: never give it to slots
   *  10 or 14. */
  QVGGLContext* (*GetWndDrawerHandle)(QVGWndDrawer* drawer);
  /** 50 [GL, the drawer's context] Fills the window with the colour (R, G, B) and shows it; may wait for the display.
   *  Both last arguments are ignored. @return false for a null drawer or colour; true otherwise, also when the drawer's
   *  context is not current and nothing is shown. */
  bool (*ClearWnd)(QVGWndDrawer* drawer, const double rgb[3], void* reserved1, void* reserved2);
  /** 51 [any] Tells the window's size in pixels, for the next draw, also while another thread draws. Until it was told
   *  once, slot 52 shows black. @return false for null. */
  bool (*SetWndDrawerSize)(QVGWndDrawer* drawer, uint32_t width, uint32_t height);
  /** 52 [GL, the drawer's context] Shows the texture's content in the window: as large as it fits, upright as rotation
   *  and flipped flag tell, laid over black by its alpha. May wait for the display. Work submitted on another
   *  context must be done (slot 47). @return false for null, when the drawer's context is not current, or
   *  after a GL error, when nothing new is shown; true otherwise, also when there is nothing to see (a size of 0, a
   *  window that is gone). */
  bool (*DrawTextureToWnd)(QVGWndDrawer* drawer, QVGTexture* texture);
  /** 53 [any] Destroys a drawer and its context and writes null; the window stays. The context must not be current on
   *  another thread. @return true. */
  bool (*DestroyWndDrawer)(QVGWndDrawer** drawer);

  /* Effects */

  /** 54 [any] count receives the number of effects of the type. When that is at most capacity and names is not null,
   *  the name of every registered effect, of all types, is written to names: make it large enough. The texts are the
   *  library's. @return true when names were written; false for a null count. */
  bool (*GetEffectNames)(int32_t type, const char** names, int32_t capacity, int32_t* count);
  /** 55 [any] true when an effect of that name exists; false for null. */
  bool (*HasEffect)(const char* name);
  /** 56 [any] The effect's type; 0 when unknown or null. */
  uint32_t (*GetEffectType)(const char* name);
  /** 57 [any] The effect's name for people, UTF-8, the library's: Chinese for the locales "zh_CN", "zh", "" and null,
   *  the effect's own name for others. Null when unknown or null. */
  const char* (*QueryEffect)(const char* name, const char* key);
  /** 58 [any] The effect's parameter table and its number of rows; table may be null. @return false when unknown or
   *  when name or count is null. */
  bool (*GetEffectParameterTable)(const char* name, const QVGParamDescriptor** table, uint32_t* count);
  /** 59 [GL] An instance of the effect, with all stages off. One thread at a time, on any of the library's contexts.
   *  Give back with DestroyEffect. @return null for null, when unknown, without a context, or on failure. */
  QVGEffect* (*CreateEffect)(const char* name);
  /** 60 [GL] Sets a parameter by its key. Switches take booleans and integers, whose first byte counts; other rows
   *  their own type. @return false for null, an unknown key or instance, or a value of a type that the key does not
   *  take; true otherwise, also for an image that can't be read. */
  bool (*SetEffectParameter)(QVGEffect* effect, const char* key, const QVGParamValue* value);
  /** 61 [GL] Runs the effect. The input stays the caller's. @return a new texture, to be given back with
   *  ReleaseTexture, as large as the input is presented (an odd turn exchanges width and height), upright, with
   *  premultiplied alpha, rotation 0 and flipped false: its row 0 is the bottom of the picture, so slots 37 and 38 take
   *  flip for rows from the top. The input itself for a null effect; null for a null input, when no stage is switched
   *  on, or on failure. */
  QVGTexture* (*ApplyEffect)(QVGEffect* effect, QVGTexture* input);
  /** 62 [GL] The form with two inputs, which no effect has at present. @return the first texture itself, not to be
   *  given back twice; null for an instance that is not live. */
  QVGTexture* (*ApplyEffectWith)(QVGEffect* effect, QVGTexture* first, QVGTexture* second, float value);
  /** 63 [any] Destroys an instance and writes null. @return true, also for null; false when it is not live. */
  bool (*DestroyEffect)(QVGEffect** effect);
} QVGGLRendererInterface;

/**
 * Starts the library, when it is not running, and gives its table. [any]
 * @param config copied; null counts as empty. Text and callbacks of the latest call are in force.
 * @return the table, the same address at each call, never null. When no GL context could be made the reasons are in
 *         the log, the slots answer their failure values, and the next call tries again.
 */
QVG_API const QVGGLRendererInterface* QVG_GetGLRendererInterface(const QVGConfig* config);

/**
 * Writes null into the host's variable and tears the library down, whoever else holds its table. [any]
 * @param table address of the host's variable; null does nothing.
 */
QVG_API void QVG_ReleaseGLRendererInterface(const QVGGLRendererInterface** table);

#ifdef __cplusplus
}
#endif

#endif
