#pragma once

#include <string>
#include <string_view>

namespace quillmere::app {

// Throws Failure, which calls the text `what`, when it is not UTF-8 or holds a NUL character. The host has no other
// texts: it would put U+FFFD in the place of each wrong byte, which makes another prompt, or the path of another file.
void requireUtf8(const std::string& what, std::string_view text);

}  // namespace quillmere::app
