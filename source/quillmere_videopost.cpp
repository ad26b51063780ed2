#include "quillmere_videopost.h"

#include "../res/description/vpquillmere.h"
#include "catalog/workflow_selection.h"
#include "console.h"
#include "drendersettings.h"
#include "guide_in_progress.h"
#include "panel.h"
#include "parameter_defaults.h"
#include "plugin_id.h"
#include "prompt.h"
#include "render_driver.h"
#include "result_transfer.h"

namespace quillmere {

using namespace cinema;

namespace {

BaseContainer* SettingsOf(GeListNode* node) {
  return node ? static_cast<BaseList2D*>(node)->GetDataInstance() : nullptr;
}

const BaseContainer* SettingsOf(const GeListNode* node) {
  return node ? static_cast<const BaseList2D*>(node)->GetDataInstance() : nullptr;
}

}  // namespace

NodeData* QuillmereVideoPost::Alloc() {
  return NewObjClear(QuillmereVideoPost);
}

Bool QuillmereVideoPost::Init(GeListNode* node, Bool isCloneInit) {
  BaseContainer* settings = SettingsOf(node);
  if (!settings) return false;
  if (!isCloneInit) WriteDefaults(*settings);
  return true;
}

Bool QuillmereVideoPost::GetDDescription(const GeListNode* /*node*/, Description* description,
                                         DESCFLAGS_DESC& flags) const {
  if (!description || !BuildPanel(*description)) return false;
  flags |= DESCFLAGS_DESC::LOADED;
  return true;
}

Bool QuillmereVideoPost::GetDParameter(const GeListNode* node, const DescID& id, GeData& t_data,
                                       DESCFLAGS_GET& flags) const {
  if (id[0].id != QUILLMERE_WORKFLOW) return VideoPostData::GetDParameter(node, id, t_data, flags);
  const BaseContainer* settings = SettingsOf(node);
  if (!settings) return false;
  t_data = GeData(StoredSelection(*settings));
  flags |= DESCFLAGS_GET::PARAM_GET;
  return true;
}

Bool QuillmereVideoPost::SetDParameter(GeListNode* node, const DescID& id, const GeData& t_data, DESCFLAGS_SET& flags) {
  if (id[0].id != QUILLMERE_WORKFLOW) return VideoPostData::SetDParameter(node, id, t_data, flags);
  BaseContainer* settings = SettingsOf(node);
  if (!settings) return false;
  StoreSelection(*settings, t_data.GetInt32(), LoadManagerWorkflows());
  flags |= DESCFLAGS_SET::PARAM_SET;
  return true;
}

Bool QuillmereVideoPost::GetDEnabling(const GeListNode* node, const DescID& id, const GeData& t_data,
                                      DESCFLAGS_ENABLE flags, const BaseContainer* itemdesc) const {
  if (id[0].id != QUILLMERE_SYSTEM_PROMPT) return VideoPostData::GetDEnabling(node, id, t_data, flags, itemdesc);
  const BaseContainer* settings = SettingsOf(node);
  return settings && settings->GetBool(QUILLMERE_UNLOCK_SYSTEM_PROMPT);
}

VIDEOPOSTINFO QuillmereVideoPost::GetRenderInfo(BaseVideoPost* /*node*/) {
  return VIDEOPOSTINFO::NONE;
}

RENDERRESULT QuillmereVideoPost::Execute(BaseVideoPost* node, VideoPostStruct* vps) {
  if (!vps || vps->vp != VIDEOPOSTCALL::RENDER) return RENDERRESULT::OK;
  if (GuideInProgress::OnThisThread()) {
    if (vps->open) PrintLine(String("Passed over a render call from the render of the guide"));
    return RENDERRESULT::OK;
  }
  if (vps->open) return HandleRenderCall(node, vps);
  BlitResultToRenderBuffer(vps);
  return RENDERRESULT::OK;
}

Bool QuillmereVideoPost::RenderEngineCheck(const BaseVideoPost* /*node*/, Int32 id) const {
  return id != RDATA_RENDERENGINE_PREVIEWHARDWARE;
}

RENDERRESULT QuillmereVideoPost::HandleRenderCall(BaseVideoPost* node, VideoPostStruct* vps) {
  return GenerateFrame(node, vps, BuildEffectivePrompt(SettingsOf(node)), _resultFile);
}

String QuillmereVideoPost::BuildEffectivePrompt(BaseContainer* settings) const {
  return settings ? ComposePrompt(*settings) : String();
}

void QuillmereVideoPost::BlitResultToRenderBuffer(VideoPostStruct* vps) {
  TransferResult(vps, _resultFile);
}

Bool RegisterQuillmereVideoPost() {
  return RegisterVideoPostPlugin(kPluginId, GeLoadString(10000), PLUGINFLAG_VIDEOPOST_ISRENDERER,
                                 QuillmereVideoPost::Alloc, String(kDescriptionName), 0, 0);
}

}  // namespace quillmere
