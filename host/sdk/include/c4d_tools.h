#pragma once

#include "c4d_basecontainer.h"
#include "c4d_thread.h"

namespace cinema {

#define VPBUFFER_RGBA 1

// A buffer of the render that is running. Lines run from the top, components are interleaved.
class QM_HOST_API VPBuffer {
 public:
  Int32 GetBw() const;
  Int32 GetBh() const;
  Int32 GetCpp() const;  // components per pixel

  // `cnt` pixels of line `y` from column `x` on. `bitdepth` tells what `data` holds: 8 UChar, 16 UInt16, 32 Float32.
  // False, with nothing done, when they don't all lie in the buffer.
  Bool SetLine(Int32 x, Int32 y, Int32 cnt, void* data, Int32 bitdepth, Bool dithering) const;
  Bool GetLine(Int32 x, Int32 y, Int32 cnt, void* data, Int32 bitdepth, Bool dithering) const;

 private:
  struct Parts;
  explicit VPBuffer(Parts* parts);
  VPBuffer(const VPBuffer&) = delete;
  VPBuffer& operator=(const VPBuffer&) = delete;
  ~VPBuffer();
  Parts* parts_;
  template <class T>
  friend struct HostSide;
};

// A render that is running.
class QM_HOST_API Render {
 public:
  VPBuffer* GetBuffer(Int32 id, Int32 subid) const;  // null if there is none; the main one has the sub-ID NOTOK

 private:
  struct Parts;
  explicit Render(Parts* parts);
  Render(const Render&) = delete;
  Render& operator=(const Render&) = delete;
  ~Render();
  Parts* parts_;
  template <class T>
  friend struct HostSide;
};

struct BaseVolumeData {
  Int32 version = 0;
};

// The render's side of the status bar.
struct QM_HOST_API VolumeData : BaseVolumeData {
  static VolumeData* Alloc();
  static void Free(VolumeData*& vd);

  void StatusSetText(const maxon::String& str) const;  // empty clears it
  void StatusSetSpinMode(Bool on) const;
  void StatusSetBar(Float fraction) const;  // 0.0 to 1.0; what lies outside is taken for the nearer end

 private:
  struct Parts;
  VolumeData();
  VolumeData(const VolumeData&) = delete;
  VolumeData& operator=(const VolumeData&) = delete;
  ~VolumeData() = default;
  Parts* parts_;
  template <class T>
  friend struct HostSide;
};

}  // namespace cinema
