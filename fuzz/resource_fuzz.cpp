// A module's res/ folder: NUL characters part the input into the symbols, the texts, and a description with its header
// and its texts.
#include <array>
#include <cstdint>
#include <string>

#include "module/description_loader.h"
#include "temporary_folder.h"

namespace quillmere::host {
namespace {

constexpr std::array kFiles{"c4d_symbols.h", "strings_en-US/c4d_strings.str", "description/d.h", "description/d.res",
                            "strings_en-US/description/d.str"};

void read(const std::string& content) {
  static const TemporaryFolder folder;
  static const Registry registry;
  std::size_t from = 0;
  for (const char* file : kFiles) {
    const std::size_t end = std::min(content.find('\0', from), content.size());
    folder.write(file, content.substr(from, end - from));
    from = std::min(end + 1, content.size());
  }
  try {
    const resource::ResourceFolder read(folder.path(), "de-DE");
    const auto description = read.description("d");
    loadDescription(description, registry);
  } catch (const Error&) {
  }
}

}  // namespace
}  // namespace quillmere::host

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quillmere::host::read({reinterpret_cast<const char*>(data), size});
  return 0;
}
