#include "history_snapshots.h"

#include "../bridge/text.h"
#include "../bridge/text_file.h"
#include "../data_directory.h"

namespace quillmere {

using namespace cinema;

namespace {

String DocumentFolderName(const BaseDocument& document) {
  const String name = document.GetDocumentName().GetString();
  return name.IsEmpty() || !document.GetDocumentPath().IsPopulated() ? String("untitled") : name;
}

}  // namespace

String QuillmereSanitizeName(const String& name) {
  std::string utf8 = ToUtf8(name);
  for (char& c : utf8) {
    if (c == ' ') c = '_';
    if (c == '/' || c == ':' || c == '\\') c = '-';
  }
  return FromUtf8(utf8);
}

Filename QuillmereHistory::GetRoot() {
  return GetDataDirectory() + String("history");
}

Filename QuillmereHistory::GetDocumentHistoryRoot(BaseDocument* document) {
  if (!document) return GetRoot();
  return GetRoot() + QuillmereSanitizeName(DocumentFolderName(*document));
}

bool QuillmereHistory::EnsureDirectory(const Filename& directory) {
  return GeFExist(directory, true) || GeFCreateDirRec(directory);
}

Filename QuillmereHistory::BuildSnapshotPath(BaseDocument* document, const String& prefix, Int32 frame,
                                             const String& extension) {
  const Filename directory = GetDocumentHistoryRoot(document);
  EnsureDirectory(directory);
  return directory + (prefix + "_f" + String::IntToString(frame) + "." + extension);
}

bool QuillmereHistory::WriteJsonEntry(const Filename& path, const String& json) {
  return WriteTextFile(path, ToUtf8(json));
}

}  // namespace quillmere
