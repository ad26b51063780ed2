#pragma once

#include "c4d.h"
#include "lib_description.h"

namespace quillmere {

// The effect's node. Its settings live in the host's container; between two calls the object itself remembers only
// which image the frame in progress has got. The host makes it through Alloc and destroys it.
class QuillmereVideoPost : public cinema::VideoPostData {
 public:
  static cinema::NodeData* Alloc();

  cinema::Bool Init(cinema::GeListNode* node, cinema::Bool isCloneInit) override;
  cinema::Bool GetDDescription(const cinema::GeListNode* node, cinema::Description* description,
                               cinema::DESCFLAGS_DESC& flags) const override;
  cinema::Bool GetDParameter(const cinema::GeListNode* node, const cinema::DescID& id, cinema::GeData& t_data,
                             cinema::DESCFLAGS_GET& flags) const override;
  cinema::Bool SetDParameter(cinema::GeListNode* node, const cinema::DescID& id, const cinema::GeData& t_data,
                             cinema::DESCFLAGS_SET& flags) override;
  cinema::Bool GetDEnabling(const cinema::GeListNode* node, const cinema::DescID& id, const cinema::GeData& t_data,
                            cinema::DESCFLAGS_ENABLE flags, const cinema::BaseContainer* itemdesc) const override;
  cinema::VIDEOPOSTINFO GetRenderInfo(cinema::BaseVideoPost* node) override;
  cinema::RENDERRESULT Execute(cinema::BaseVideoPost* node, cinema::VideoPostStruct* vps) override;
  cinema::Bool RenderEngineCheck(const cinema::BaseVideoPost* node, cinema::Int32 id) const override;

 private:
  cinema::RENDERRESULT HandleRenderCall(cinema::BaseVideoPost* node, cinema::VideoPostStruct* vps);
  cinema::String BuildEffectivePrompt(cinema::BaseContainer* settings) const;
  void BlitResultToRenderBuffer(cinema::VideoPostStruct* vps);

  cinema::Filename _resultFile;  // set by an opening render call, used up by the closing one
};

// Registers the effect with the host; false when the host refuses it.
cinema::Bool RegisterQuillmereVideoPost();

}  // namespace quillmere
