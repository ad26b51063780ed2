// What a picture says of its making: the text in a PNG, or the side file of what is no PNG.
#include "base/error.h"
#include "record/picture_record.h"
#include "record/repetition.h"
#include "temporary_folder.h"

namespace quillmere::app {
namespace {

void read(const std::string& content) {
  static const TemporaryFolder folder;
  const bool isPicture = content.starts_with("\x89PNG");
  const auto picture = folder.write("picture.png", isPicture ? content : "no PNG");
  try {
    repetitionOf(isPicture ? recordOf(picture) : parsedRecord(content, "side file"), picture);
  } catch (const Error&) {
  }
}

}  // namespace
}  // namespace quillmere::app

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quillmere::app::read({reinterpret_cast<const char*>(data), size});
  return 0;
}
