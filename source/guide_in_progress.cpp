#include "guide_in_progress.h"

namespace quillmere {

namespace {

// Per thread, so that a frame which the host renders on another one meanwhile is generated.
thread_local bool inProgress = false;

}  // namespace

GuideInProgress::GuideInProgress() : former_(inProgress) {
  inProgress = true;
}

GuideInProgress::~GuideInProgress() {
  inProgress = former_;
}

bool GuideInProgress::OnThisThread() {
  return inProgress;
}

}  // namespace quillmere
