#include "data_directory.h"

namespace quillmere {

using namespace cinema;

Filename GetDataDirectory() {
  Filename directory = GeGetStartupWritePath();
  directory += String("quillmere");
  directory += String("c4d");
  return directory;
}

}  // namespace quillmere
