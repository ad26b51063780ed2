#pragma once

namespace quillmere {

// This thread makes a guide while this lives. A guide may be a render of the document, and what the host then renders
// holds the effect as well: its calls would ask for a guide in their turn, without end.
class GuideInProgress {
 public:
  GuideInProgress();
  ~GuideInProgress();
  GuideInProgress(const GuideInProgress&) = delete;
  GuideInProgress& operator=(const GuideInProgress&) = delete;

  static bool OnThisThread();

 private:
  const bool former_;
};

}  // namespace quillmere
