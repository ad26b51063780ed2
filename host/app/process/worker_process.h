#pragma once

#include <sys/types.h>

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillmere::app {

// The program of this process.
std::filesystem::path thisProgram();

// A process below this one that is told what to do on its standard input, and answers on its standard output, a line
// each. Its standard error is this one's. It learns of this one's end by the end of its input.
class WorkerProcess {
 public:
  // Whether a break that a terminal sends to this process's group reaches that one too.
  enum class Group { Shared, Own };

  // Starts `program`, whose arguments follow. Throws std::system_error.
  WorkerProcess(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                Group group = Group::Shared);
  ~WorkerProcess();  // closes both streams; the process stays to be ended and waited for
  WorkerProcess(WorkerProcess&& other) noexcept;
  WorkerProcess& operator=(WorkerProcess&&) = delete;

  pid_t id() const { return id_; }
  int answers() const { return answers_; }  // to wait for with poll(); -1 after the end of its output

  // False when it doesn't read any more.
  bool tell(std::string_view line);
  // Tells it to stop, by the end of its input.
  void finish();
  // The whole lines that have come, without waiting for more; to be called when there is something to read.
  std::vector<std::string> take();

 private:
  pid_t id_ = -1;
  int orders_ = -1, answers_ = -1;
  std::string begun_;  // a line that has not ended
};

}  // namespace quillmere::app
