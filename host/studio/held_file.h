#pragma once

#include <filesystem>

namespace quillmere::studio {

// A file that is kept hold of: what is judged by where it lies is what is read, whatever its name comes to stand for in
// between.
class HeldFile {
 public:
  // Links are followed. None is held where there is no ordinary file.
  explicit HeldFile(const std::filesystem::path& file);
  ~HeldFile();
  HeldFile(HeldFile&& other) noexcept;
  HeldFile(const HeldFile&) = delete;
  HeldFile& operator=(const HeldFile&) = delete;

  // Where it lies, without links; empty when none is held.
  const std::filesystem::path& place() const { return place_; }
  // A name that it is read under while this lives.
  std::filesystem::path content() const;

 private:
  int descriptor_;
  std::filesystem::path place_;
};

}  // namespace quillmere::studio
