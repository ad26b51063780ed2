#include "utf8_text.h"

#include "failure.h"
#include "sdk/core/text.h"

namespace quillmere::app {

void requireUtf8(const std::string& what, std::string_view text) {
  if (text.find('\0') != std::string_view::npos) {
    throw Failure(ExitStatus::Usage, what, "its text holds a NUL character", "remove the character");
  }
  if (host::toUtf8(host::fromUtf8(text)) == text) return;
  throw Failure(ExitStatus::Usage, what, "its text is not UTF-8", "write it in UTF-8, or name the file otherwise");
}

}  // namespace quillmere::app
