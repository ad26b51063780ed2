#pragma once

#include <atomic>
#include <string>
#include <string_view>
#include <vector>

namespace quillmere::app {

// A file descriptor that texts are written to in full. The descriptor stays the caller's. One thread writes at a time;
// any may ask whether it is lost.
class Output {
 public:
  explicit Output(int descriptor) : descriptor_(descriptor) {}

  int descriptor() const { return descriptor_; }
  // False once a write has failed (the reader went away, the disk is full); everything after that is dropped.
  bool write(std::string_view text);
  // So it is, or would be: the reader of a pipe is missed before there is something to write.
  bool lost() const;

 private:
  int descriptor_;
  std::atomic<bool> lost_ = false;
};

// Where a standard stream is closed, opens nothing in its place, so that no file of ours takes its number.
void openMissingStandardStreams();

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

// All of `text` on standard output. Throws Failure when it can't be written there.
void printResult(const std::string& text);
// "quillmere: text" on standard error, harmless to terminals.
void printError(const std::string& text);
// The same for what a scene asks for and doesn't get, one line each.
void printWarnings(const std::vector<std::string>& warnings);

}  // namespace quillmere::app
