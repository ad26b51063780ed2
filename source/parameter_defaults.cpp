#include "parameter_defaults.h"

#include "bridge/text.h"
#include "catalog/workflow_selection.h"
#include "data_directory.h"
#include "parameter_table.h"

namespace quillmere {

using namespace cinema;

namespace {

void WriteDefault(BaseContainer& settings, const Parameter& parameter) {
  switch (parameter.stored) {
    case Stored::Bool:
      return settings.SetBool(parameter.id, parameter.number != 0);
    case Stored::Int32:
      return settings.SetInt32(parameter.id, parameter.number);
    case Stored::Text:
      return settings.SetString(parameter.id, FromUtf8(parameter.text));
    case Stored::FileName:
    case Stored::Link:
      return;
  }
}

}  // namespace

void WriteDefaults(BaseContainer& settings) {
  for (const Int32 id : kDefaultsOrder) WriteDefault(settings, ParameterOf(id));
  settings.SetFilename(QUILLMERE_OUTPUT_DIRECTORY, GetDataDirectory() + String("renders"));
  SyncPreferredWorkflow(&settings);
}

}  // namespace quillmere
