#pragma once

#include <stddef.h>
#include <stdint.h>

// What every header of the host's API builds on. No header of this folder holds a type of the C++ standard library in
// a signature or a layout, and nothing of it throws, so a module may be built with another compiler and another
// standard library than the host that opens it.

#define QM_HOST_API __attribute__((visibility("default")))

#define NOTOK (-1)

#define FILTER_PNG 1023671

#define Obase 5155
#define Ocamera 5103
#define Orscamera 1057516

namespace cinema {

using Bool = bool;
using Char = char;
using UChar = unsigned char;
using UInt16 = uint16_t;
using Int32 = int32_t;
using UInt32 = uint32_t;
using Int64 = int64_t;
using Int = int64_t;
using Float = double;
using Float32 = float;
using Utf32Char = char32_t;

class AtomArray;
class BaseBitmap;
class BaseContainer;
class BaseDocument;
class BaseDraw;
class BaseLink;
class BaseList2D;
class BaseObject;
class BasePlugin;
class BaseThread;
class BaseTime;
class BaseVideoPost;
class C4DAtom;
class C4DAtomGoal;
class DescID;
class Description;
class Filename;
class GeData;
class GeListNode;
class LocalResource;
class NetRenderDocumentContext;
class NodeData;
class Render;
class RenderData;
class String;
class VPBuffer;
struct BaseVideoPostStruct;
struct VideoPostStruct;
struct VolumeData;

// The host's own way into a class whose construction and parts are closed to modules. Only the host defines it.
template <class T>
struct HostSide;

// An `enum class` whose values are flags says so by a specialisation, and has the bit operators then.
template <class Enum>
struct FlagEnum {};
template <class Enum, class = typename FlagEnum<Enum>::Yes>
constexpr Enum operator|(Enum a, Enum b) {
  return Enum(static_cast<int>(a) | static_cast<int>(b));
}
template <class Enum, class = typename FlagEnum<Enum>::Yes>
constexpr Enum operator&(Enum a, Enum b) {
  return Enum(static_cast<int>(a) & static_cast<int>(b));
}
template <class Enum, class = typename FlagEnum<Enum>::Yes>
constexpr Enum operator~(Enum a) {
  return Enum(~static_cast<int>(a));
}
template <class Enum, class = typename FlagEnum<Enum>::Yes>
constexpr Enum& operator|=(Enum& a, Enum b) {
  return a = a | b;
}
template <class Enum, class = typename FlagEnum<Enum>::Yes>
constexpr Enum& operator&=(Enum& a, Enum b) {
  return a = a & b;
}

enum {
  DA_NIL = 0,
  DA_LONG = 15,
  DA_REAL = 19,
  DA_LLONG = 26,
  DA_STRING = 130,
  DA_FILENAME = 131,
  DA_CONTAINER = 132,
  DA_ALIASLINK = 133
};

enum class DESCFLAGS_DESC { NONE = 0, LOADED = 2 };
enum class DESCFLAGS_GET { NONE = 0, PARAM_GET = 2 };
enum class DESCFLAGS_SET { NONE = 0, PARAM_SET = 2 };
enum class DESCFLAGS_ENABLE { NONE = 0 };
template <>
struct FlagEnum<DESCFLAGS_DESC> {
  using Yes = void;
};
template <>
struct FlagEnum<DESCFLAGS_GET> {
  using Yes = void;
};
template <>
struct FlagEnum<DESCFLAGS_SET> {
  using Yes = void;
};
template <>
struct FlagEnum<DESCFLAGS_ENABLE> {
  using Yes = void;
};

enum class IMAGERESULT {
  OK = 1,
  NOTEXISTING = -1,
  WRONGTYPE = -2,
  OUTOFMEMORY = -3,
  FILEERROR = -4,
  FILESTRUCTURE = -5,
  MISC_ERROR = -6,
  PARAM_ERROR = -7,
  THREADCANCELED = -8
};
enum class INITBITMAPFLAGS { NONE = 0, GRAYSCALE = 1 };
enum class SAVEBIT { NONE = 0, ALPHA = 1, USE16BITCHANNELS = 8 };
template <>
struct FlagEnum<INITBITMAPFLAGS> {
  using Yes = void;
};
template <>
struct FlagEnum<SAVEBIT> {
  using Yes = void;
};

enum class PLUGINTYPE { COMMAND = 4, OBJECT = 5, TAG = 6, VIDEOPOST = 8, TOOL = 9 };

enum class RENDERFLAGS { NONE = 0, EXTERNAL = 1, NODOCUMENTCLONE = 2, SHOWERRORS = 4, PREVIEWRENDER = 8 };
template <>
struct FlagEnum<RENDERFLAGS> {
  using Yes = void;
};

enum class RENDERRESULT {
  OK = 0,
  OUTOFMEMORY = 1,
  ASSETMISSING = 2,
  SAVINGFAILED = 5,
  USERBREAK = 6,
  GICACHEMISSING = 7,
  NOMACHINE = 9,
  UNAVAILABLE = 10,
  FAILED = 11,
  PROJECTNOTFOUND = 1000,
  ERRORLOADINGPROJECT = 1001,
  NOOUTPUTSPECIFIED = 1002
};

enum class COLORSPACETRANSFORMATION { NONE = 0 };

}  // namespace cinema
