#pragma once

#include "c4d.h"

namespace quillmere {

// The name with spaces turned into underscores, and slashes, colons and backslashes into hyphens.
cinema::String QuillmereSanitizeName(const cinema::String& name);

// One small JSON entry per rendered frame, in a folder per document. A later render of a frame overwrites its entry;
// nothing is ever removed.
class QuillmereHistory {
 public:
  static cinema::Filename GetRoot();

  // "untitled" for a document that was never saved; the root itself for a null document.
  static cinema::Filename GetDocumentHistoryRoot(cinema::BaseDocument* document);

  // True when the folder is there or could be made with all its parents.
  static bool EnsureDirectory(const cinema::Filename& directory);

  // The entry's file in the document's history folder, which is made if it can be.
  static cinema::Filename BuildSnapshotPath(cinema::BaseDocument* document, const cinema::String& prefix,
                                            cinema::Int32 frame, const cinema::String& extension);

  static bool WriteJsonEntry(const cinema::Filename& path, const cinema::String& json);
};

}  // namespace quillmere
