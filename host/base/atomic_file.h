#pragma once

#include <cstdio>
#include <filesystem>
#include <memory>
#include <span>
#include <string_view>

namespace quillmere {

// A file that appears whole or not at all: it is written under a hidden name in the target's folder and renamed by
// commit(). Until then a reader meets the former file, and when this dies without commit() nothing is left behind.
// A link as the target stays a link. One thread at a time.
class AtomicFile {
 public:
  // Throws Error when the folder is missing or can't be written to, or when the target exists and is not a file.
  explicit AtomicFile(std::filesystem::path target);
  ~AtomicFile();
  AtomicFile(const AtomicFile&) = delete;
  AtomicFile& operator=(const AtomicFile&) = delete;

  // Open for writing in binary from the start; closed by commit(). What fails on it is found by commit() too.
  std::FILE* stream() const { return stream_.get(); }

  // The file is complete: it takes the target's place, and is on the disk by then. Throws Error, the target is then as
  // it was.
  void commit();

 private:
  struct Close {
    void operator()(std::FILE* stream) const { std::fclose(stream); }
  };

  [[noreturn]] void fail(int error) const;
  int openNew();  // 0, or why it failed as errno has it

  std::filesystem::path target_;
  std::filesystem::path place_;  // where it is written
  std::unique_ptr<std::FILE, Close> stream_;
};

// A whole file at once. Throws Error.
void writeFile(const std::filesystem::path& target, std::string_view content);

}  // namespace quillmere
