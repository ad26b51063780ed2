#pragma once

#include "c4d_baselist.h"

namespace cinema {

// The settings of a render; its container holds the RDATA_ entries (drendersettings.h).
class QM_HOST_API RenderData : public BaseList2D {
 private:
  explicit RenderData(Parts* parts);
  ~RenderData();
  template <class T>
  friend struct HostSide;
};

class QM_HOST_API BaseDocument : public BaseList2D {
 public:
  RenderData* GetActiveRenderData();
  const RenderData* GetActiveRenderData() const;

  const BaseTime& GetTime() const;
  Int32 GetFps() const;

  Filename GetDocumentName() const;  // the file part
  Filename GetDocumentPath() const;  // the folder; empty when never saved

  // Of the active view: null, and false, when there is none.
  BaseObject* GetSceneCamera() const;
  Bool SetSceneCamera(BaseObject* camera);

  BaseDraw* GetRenderBaseDraw() const;  // null if none
  BaseDraw* GetActiveBaseDraw() const;  // null if none

 private:
  explicit BaseDocument(Parts* parts);
  ~BaseDocument();
  template <class T>
  friend struct HostSide;
};

enum class RENDERPROGRESSTYPE { BEFORERENDERING = 0, DURINGRENDERING = 1, AFTERRENDERING = 2 };
typedef void ProgressHook(Float progress, RENDERPROGRESSTYPE type, void* private_data);
enum class WRITEMODE { STANDARD = 0 };
typedef void WriteProgressHook(WRITEMODE mode, BaseBitmap* bmp, const Filename& name, Bool main, Int32 frame,
                               Int32 render_time, Int32 stream_num, const maxon::String& stream_name,
                               void* private_data);

// Renders the document with the settings `rdata` into `bmp`, which must have their size already. `th`, when given, is
// asked for the user's break.
QM_HOST_API RENDERRESULT RenderDocument(BaseDocument* doc, const BaseContainer& rdata, ProgressHook* prog,
                                        void* private_data, BaseBitmap* bmp, RENDERFLAGS renderflags, BaseThread* th,
                                        WriteProgressHook* wprog = nullptr, void* data = nullptr);

}  // namespace cinema
