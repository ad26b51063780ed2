#include "core/running.h"

namespace quillmere::host {

namespace {

Running* theRunning = nullptr;

}  // namespace

Running* running() {
  return theRunning;
}
void setRunning(Running* now) {
  theRunning = now;
}

}  // namespace quillmere::host
