#include "c4d_customdatatypeplugin.h"

#include <algorithm>
#include <array>

#include "lib_description.h"

namespace cinema {

namespace {

struct DataType {
  Int32 type;
  Int32 animate;
};

constexpr std::array kKnown = {
    DataType{DTYPE_GROUP, DESC_ANIMATE_OFF},      DataType{DTYPE_BUTTON, DESC_ANIMATE_OFF},
    DataType{DTYPE_STATICTEXT, DESC_ANIMATE_OFF}, DataType{DTYPE_LONG, DESC_ANIMATE_ON},
    DataType{DTYPE_REAL, DESC_ANIMATE_ON},        DataType{DTYPE_STRING, DESC_ANIMATE_ON},
    DataType{DTYPE_FILENAME, DESC_ANIMATE_ON},    DataType{DTYPE_BASELISTLINK, DESC_ANIMATE_ON},
    DataType{DTYPE_BOOL, DESC_ANIMATE_ON},
};

}  // namespace

// The data type's own gui isn't named: a panel shows it wherever DESC_CUSTOMGUI is absent.
BaseContainer GetCustomDataTypeDefault(Int32 type) {
  BaseContainer properties(type);
  const auto known = std::find_if(kKnown.begin(), kKnown.end(), [&](const DataType& one) { return one.type == type; });
  if (known != kKnown.end()) properties.SetInt32(DESC_ANIMATE, known->animate);
  return properties;
}

}  // namespace cinema
