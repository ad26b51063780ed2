#include "panel.h"

#include "bridge/text.h"
#include "catalog/workflow_catalog.h"
#include "console.h"
#include "customgui_linkbox.h"
#include "guide_mode.h"
#include "plugin_id.h"
#include "vpbase.h"

namespace quillmere {

using namespace cinema;

namespace {

Int32 DataTypeOf(Field field) {
  switch (field) {
    case Field::Toggle:
      return DTYPE_BOOL;
    case Field::CameraLink:
      return DTYPE_BASELISTLINK;
    case Field::TextLine:
    case Field::TextArea:
      return DTYPE_STRING;
    case Field::Path:
      return DTYPE_FILENAME;
    case Field::StaticText:
      return DTYPE_STATICTEXT;
    case Field::WorkflowMenu:
    case Field::GuideModeMenu:
    case Field::Integer:
    case Field::None:
      break;
  }
  return DTYPE_LONG;
}

BaseContainer WorkflowChoices() {
  BaseContainer choices;
  choices.SetString(0, String("None"));
  Int32 selection = 0;
  for (const WorkflowEntry& entry : LoadManagerWorkflows()) choices.SetString(++selection, entry.name);
  return choices;
}

BaseContainer GuideModeChoices() {
  BaseContainer choices;
  for (const GuideMode mode : {GuideMode::QuickShading, GuideMode::FinalRender}) {
    choices.SetString(Int32(mode), String(GuideModeLabel(mode)));
  }
  return choices;
}

void DescribeMenu(BaseContainer& field, const Parameter& parameter, const BaseContainer& choices) {
  field.SetInt32(DESC_CUSTOMGUI, CUSTOMGUI_CYCLE);
  field.SetInt32(DESC_DEFAULT, parameter.number);
  field.SetInt32(DESC_ANIMATE, DESC_ANIMATE_OFF);
  field.SetContainer(DESC_CYCLE, choices);
}

void DescribeCameraLink(BaseContainer& field) {
  field.SetInt32(DESC_CUSTOMGUI, CUSTOMGUI_LINKBOX);
  field.SetInt32(DESC_ACCEPT, Ocamera);
  field.SetInt32(DESC_ANIMATE, DESC_ANIMATE_OFF);
}

void DescribeInteger(BaseContainer& field, const Parameter& parameter) {
  field.SetInt32(DESC_DEFAULT, parameter.number);
  field.SetInt32(DESC_MIN, parameter.minimum);
  field.SetInt32(DESC_MAX, parameter.maximum);
}

BaseContainer DescribeParameter(const Parameter& parameter) {
  BaseContainer field = GetCustomDataTypeDefault(DataTypeOf(parameter.field));
  field.SetString(DESC_NAME, FromUtf8(LabelOf(parameter.field, parameter.id)));
  switch (parameter.field) {
    case Field::Toggle:
      field.SetBool(DESC_DEFAULT, parameter.number != 0);
      break;
    case Field::WorkflowMenu:
      DescribeMenu(field, parameter, WorkflowChoices());
      break;
    case Field::GuideModeMenu:
      DescribeMenu(field, parameter, GuideModeChoices());
      break;
    case Field::CameraLink:
      DescribeCameraLink(field);
      break;
    case Field::TextArea:
      field.SetInt32(DESC_CUSTOMGUI, CUSTOMGUI_STRINGMULTI);
      break;
    case Field::Integer:
      DescribeInteger(field, parameter);
      break;
    case Field::TextLine:
    case Field::Path:
    case Field::StaticText:
    case Field::None:
      break;
  }
  return field;
}

bool AddParameter(Description& description, const Parameter& parameter) {
  const DescID id = DescID::Create(DescLevel(parameter.id, DataTypeOf(parameter.field), 0));
  const DescID group = DescID::Create(DescLevel(ID_VIDEOPOSTPROPERTIES, DTYPE_GROUP, 0));
  return description.SetParameter(id, DescribeParameter(parameter), group);
}

}  // namespace

bool BuildPanel(Description& description) {
  if (!description.LoadDescription(String(kDescriptionName))) {
    PrintLine(String("Failed to load description ") + kDescriptionName);
    return false;
  }
  for (const Int32 id : kPanelOrder) {
    if (!AddParameter(description, ParameterOf(id))) return false;
  }
  return true;
}

const char* LabelOf(Field field, Int32 id) {
  const auto isText = [](Field one) { return one == Field::TextLine || one == Field::TextArea; };
  for (const Parameter& parameter : kParameters) {
    const bool alike = parameter.field == field || (isText(parameter.field) && isText(field));
    if (parameter.id == id && alike) return parameter.label;
  }
  switch (field) {
    case Field::Toggle:
      return "Toggle";
    case Field::TextLine:
    case Field::TextArea:
      return "Text";
    case Field::Path:
      return "Path";
    case Field::StaticText:
      return "Status";
    case Field::Integer:
      return "Value";
    case Field::WorkflowMenu:
    case Field::CameraLink:
    case Field::GuideModeMenu:
    case Field::None:
      break;
  }
  return "";
}

}  // namespace quillmere
