#include "text_file.h"

#include <cstdio>
#include <fstream>
#include <memory>

#include "text.h"

namespace quillmere {

using namespace cinema;

namespace {

// The path in the platform's own encoding, as files are opened with; null for an empty one.
class NativePath {
 public:
  explicit NativePath(const Filename& path) : bytes_(path.GetString().GetCStringCopy()) {}
  ~NativePath() {
    if (bytes_) DeleteMem(bytes_);
  }
  NativePath(const NativePath&) = delete;
  NativePath& operator=(const NativePath&) = delete;
  const char* get() const { return bytes_; }

 private:
  Char* bytes_;
};

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

}  // namespace

// Not with a stream: its buffer throws when the path is a folder, and nothing here could catch that.
std::string ReadFileBytes(const Filename& path) {
  const NativePath native(path);
  const std::unique_ptr<std::FILE, CloseFile> file(native.get() ? std::fopen(native.get(), "rb") : nullptr);
  std::string bytes;
  if (!file) return bytes;
  char block[1 << 14];
  while (const std::size_t count = std::fread(block, 1, sizeof block, file.get())) bytes.append(block, count);
  return bytes;
}

String ReadTextFile(const Filename& path) {
  return FromUtf8(ReadFileBytes(path));
}

bool WriteTextFile(const Filename& path, const std::string& content) {
  const NativePath native(path);
  if (!native.get()) return false;
  std::ofstream file(native.get(), std::ios::out | std::ios::binary | std::ios::trunc);
  if (!file.is_open()) return false;
  file.write(content.data(), std::streamsize(content.size()));
  return file.good();
}

}  // namespace quillmere
