#include "core/base_description.h"

#include "vpbase.h"

namespace quillmere::host {

using namespace cinema;

RegisteredDescription baseDescription() {
  BaseContainer group = GetCustomDataTypeDefault(DTYPE_GROUP);
  group.SetString(DESC_NAME, "Properties"_s);
  RegisteredDescription base;
  base.entries.push_back({DescID::Create(DescLevel(ID_VIDEOPOSTPROPERTIES, DTYPE_GROUP, 0)), group, DescID()});
  return base;
}

}  // namespace quillmere::host
