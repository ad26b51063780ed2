#include "text_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

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

// Only a regular file: others may put a pipe or a device under the name, on which the host's thread would wait for
// good. It is opened without waiting and looked at then, so that there is no time to swap it between. Not with a
// stream, whose buffer throws when the path is a folder: nothing here could catch that.
std::FILE* OpenForReading(const char* path) {
  const int descriptor = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (descriptor < 0) return nullptr;
  struct stat found = {};
  const bool regular = fstat(descriptor, &found) == 0 && S_ISREG(found.st_mode);
  std::FILE* const file = regular ? fdopen(descriptor, "rb") : nullptr;
  if (!file) close(descriptor);
  return file;
}

// Opening one to write waits for somebody to read.
bool IsPipe(const char* path) {
  struct stat found = {};
  return stat(path, &found) == 0 && S_ISFIFO(found.st_mode);
}

}  // namespace

std::string ReadFileBytes(const Filename& path) {
  const NativePath native(path);
  const std::unique_ptr<std::FILE, CloseFile> file(native.get() ? OpenForReading(native.get()) : nullptr);
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
  if (!native.get() || IsPipe(native.get())) return false;
  std::ofstream file(native.get(), std::ios::out | std::ios::binary | std::ios::trunc);
  if (!file.is_open()) return false;
  file.write(content.data(), std::streamsize(content.size()));
  return file.good();
}

}  // namespace quillmere
