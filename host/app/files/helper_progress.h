#pragma once

#include <sys/stat.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <thread>
#include <tuple>

#include "report/report.h"

// What the helper tells of a frame while it works on it, beyond the message that the effect passes on: further members
// of the status file, and preview pictures beside it.
namespace quillmere::app {

// Every helper that this process starts from now on writes preview pictures, where its server sends them. An
// environment variable: to be set only while no other thread reads the environment.
void askForPreviews();

// Takes away what previews of the frame a helper that was killed has left.
void removePreviews(const std::filesystem::path& writeDirectory, std::int32_t frame);

// Whether what has ended a frame may be gone when it is tried again.
enum class FailureKind {
  Passing,  // a server that doesn't answer, too little memory
  Lasting,  // a missing model, a wrong workflow
  Unknown   // the helper hasn't told: it was killed, or is another one
};

// Watches one frame's status file, from when it is made. What stands there already is of an earlier render and is not
// told. What is damaged, too large or no ordinary file is passed over; the effect itself says what matters.
class HelperProgress {
 public:
  // `report` must outlive it.
  HelperProgress(const std::filesystem::path& writeDirectory, std::int32_t frame, Report& report);

  // `stop`, which also looks at the file: it is asked all the time while the effect waits for its helper. The report is
  // told on this thread alone, and not more often than every 100 ms.
  std::function<bool()> watchingDuring(std::function<bool()> stop);

  // What the helper says of the failure that has ended the frame.
  FailureKind failure() const;

 private:
  using Clock = std::chrono::steady_clock;
  using Stamp = std::tuple<ino_t, off_t, std::time_t, long>;  // what changes when a file is written or replaced

  std::optional<Stamp> stamp() const;
  void look();

  std::filesystem::path folder_, file_;
  std::int32_t frame_;
  Report& report_;
  std::thread::id thread_ = std::this_thread::get_id();
  std::optional<Stamp> former_, seen_;  // before the frame, and when it was looked at last
  Clock::time_point next_;
};

}  // namespace quillmere::app
