#pragma once

#include <string_view>

namespace quillmere::app {

// A file descriptor that is written to whole or not at all. Any thread; the descriptor stays the caller's.
class Output {
 public:
  explicit Output(int descriptor) : descriptor_(descriptor) {}

  int descriptor() const { return descriptor_; }
  // False once a write has failed (the reader went away, the disk is full); everything after that is dropped.
  bool write(std::string_view text);
  bool lost() const { return lost_; }

 private:
  int descriptor_;
  bool lost_ = false;
};

// While this lives, what child processes print to standard output goes to standard error, so that the lines on
// standard output are this program's alone and end when it ends.
class OwnStandardOutput {
 public:
  OwnStandardOutput();
  ~OwnStandardOutput();
  OwnStandardOutput(const OwnStandardOutput&) = delete;
  OwnStandardOutput& operator=(const OwnStandardOutput&) = delete;

  // The real standard output, closed in children.
  int descriptor() const { return saved_ >= 0 ? saved_ : 1; }

 private:
  int saved_;
};

}  // namespace quillmere::app
