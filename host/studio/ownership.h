#pragma once

#include <filesystem>
#include <mutex>
#include <string>

namespace quillmere::studio {

// Of the programs that show a write directory, the one that may render there; the others only show. It is the first,
// and after its end the next that asks. Any thread.
class Ownership {
 public:
  // `folder` is the studio's own; made when it is missing, once somebody asks.
  explicit Ownership(std::filesystem::path folder) : folder_(std::move(folder)) {}
  ~Ownership();
  Ownership(const Ownership&) = delete;
  Ownership& operator=(const Ownership&) = delete;

  // Whether this program is the one; it stays so. False where the folder can't be written, too.
  bool mine();
  // The one's process number when it is another; empty when nobody knows.
  std::string other();

 private:
  std::filesystem::path file() const;

  std::filesystem::path folder_;
  std::mutex mutex_;  // guards all below
  int descriptor_ = -1;
};

}  // namespace quillmere::studio
