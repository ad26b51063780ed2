#pragma once

#include "c4d_basecontainer.h"

namespace cinema {

// One level of a parameter's address.
struct DescLevel {
  Int32 id;
  Int32 dtype = 0;
  Int32 creator = 0;

  constexpr DescLevel(Int32 level) : id(level) {}
  constexpr DescLevel(Int32 level, Int32 datatype, Int32 made_by) : id(level), dtype(datatype), creator(made_by) {}

  // The type and the creator only count where both sides name one.
  constexpr Bool operator==(const DescLevel& other) const {
    return id == other.id && Agree(dtype, other.dtype) && Agree(creator, other.creator);
  }
  constexpr Bool operator!=(const DescLevel& other) const { return !(*this == other); }

 private:
  static constexpr Bool Agree(Int32 a, Int32 b) { return a == 0 || b == 0 || a == b; }
};

// A parameter's address, outermost level first. Made by Create, or by the macros below; never from a level or a
// number, which would be taken for one by mistake.
class DescID {
 public:
  DescID() {}  // no constexpr, so that no address can be

  template <class... Levels>
  static DescID Create(const Levels&... levels) {
    static_assert(sizeof...(Levels) <= kDeepest, "an address this deep is not modelled");
    DescID made;
    (made.Append(levels), ...);
    return made;
  }

  // A level beyond the last is {0, 0, 0}.
  const DescLevel& operator[](Int32 pos) const { return pos >= 0 && pos < depth_ ? levels_[pos] : levels_[kDeepest]; }
  Int32 GetDepth() const { return depth_; }
  Bool IsPopulated() const { return depth_ > 0; }

  Bool operator==(const DescID& other) const {
    if (depth_ != other.depth_) return false;
    for (Int32 level = 0; level < depth_; ++level) {
      if (levels_[level] != other.levels_[level]) return false;
    }
    return true;
  }
  Bool operator!=(const DescID& other) const { return !(*this == other); }

 private:
  static constexpr Int32 kDeepest = 4;
  void Append(const DescLevel& level) { levels_[depth_++] = level; }

  DescLevel levels_[kDeepest + 1] = {DescLevel(0), DescLevel(0), DescLevel(0), DescLevel(0), DescLevel(0)};
  Int32 depth_ = 0;
};

enum {
  DESC_NAME = 1,
  DESC_SHORT_NAME = 2,
  DESC_MIN = 5,
  DESC_MAX = 6,
  DESC_STEP = 9,
  DESC_ANIMATE = 10,
  DESC_ANIMATE_OFF = 0,
  DESC_ANIMATE_ON = 1,
  DESC_ANIMATE_MIX = 2,
  DESC_CYCLE = 14,
  DESC_HIDE = 15,
  DESC_DEFAULT = 16,
  DESC_ACCEPT = 17,
  DESC_REFUSE = 19,
  DESC_CUSTOMGUI = 21,
  DESC_EDITABLE = 26
};

enum {
  DTYPE_GROUP = 1,
  DTYPE_BUTTON = 8,
  DTYPE_STATICTEXT = 12,
  DTYPE_LONG = 15,
  DTYPE_REAL = 19,
  DTYPE_STRING = 130,
  DTYPE_FILENAME = 131,
  DTYPE_BASELISTLINK = 133,
  DTYPE_BOOL = 400006001
};

// The parameters that a node shows, each with its properties (DESC_) and the group it stands in.
class QM_HOST_API Description {
 public:
  static Description* Alloc();
  static void Free(Description*& description);

  // Replaces the entries by those of a registered description. False, and no entries, when there is none of that name.
  Bool LoadDescription(const String& id);
  // Adds the parameter behind those of its group, or replaces its properties in place. False when the address is empty
  // or the group isn't there; an empty group is the top level.
  Bool SetParameter(const DescID& id, const BaseContainer& param, const DescID& groupid);
  // Null when absent. The result lives until the entries change; `temp` isn't used.
  const BaseContainer* GetParameter(const DescID& id, BaseContainer& temp, AtomArray* atoms) const;

 private:
  Description();
  Description(const Description&) = delete;
  Description& operator=(const Description&) = delete;
  ~Description();
  struct Parts;
  Parts* parts_;
  template <class T>
  friend struct HostSide;
};

// Registers a description of the module's own resource, or of `res`. Compiled into the module.
Bool RegisterDescription(Int32 id, const maxon::String& idstr, LocalResource* res = nullptr);

}  // namespace cinema

#define CUSTOMGUI_CYCLE 200000180
#define CUSTOMGUI_STRINGMULTI 200000007

#define CreateDescID(...) ::cinema::DescID::Create(__VA_ARGS__)

// An address of constants. It is a temporary, made anew wherever this stands.
#define ConstDescID(...)                                          \
  ([]() -> ::cinema::DescID {                                     \
    constexpr ::cinema::DescLevel qm_constants[] = {__VA_ARGS__}; \
    static_cast<void>(qm_constants);                              \
    return ::cinema::DescID::Create(__VA_ARGS__);                 \
  }())
#define ConstDescIDLevel(level) ConstDescID(::cinema::DescLevel(level))
