#include "helper_process.h"

#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <thread>

#include "../render_status.h"
#include "exchange_files.h"
#include "runtime_locations.h"
#include "text.h"

namespace quillmere {

using namespace cinema;

namespace {

constexpr auto kPause = std::chrono::milliseconds(120);
constexpr int kShellNotExecuted = 127;

enum class Helper { Running, Succeeded, Failed };

Helper Poll(pid_t process) {
  int status = 0;
  const pid_t ended = waitpid(process, &status, WNOHANG);
  if (ended < 0) return Helper::Failed;
  if (ended != process) return Helper::Running;
  return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? Helper::Succeeded : Helper::Failed;
}

bool StoppedByUser(const VideoPostStruct* vps) {
  return vps && vps->thread && vps->thread->TestBreak();
}

void Stop(pid_t process) {
  kill(process, SIGTERM);
  int status = 0;
  while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
  }
}

}  // namespace

std::string ShellQuote(const String& text) {
  std::string word = "'";
  for (const char c : ToUtf8(text)) {
    if (c == '\'') {
      word += "'\\''";
    } else {
      word += c;
    }
  }
  return word += '\'';
}

int LaunchRenderHelper(const Filename& request, const Filename& response) {
  const Filename script = GetPythonHelperPath();
  if (!GeFExist(script, false)) return -1;
  const std::string command = "python3 " + ShellQuote(script.GetString()) + " " + ShellQuote(request.GetString()) +
                              " " + ShellQuote(response.GetString());
  const char* const line = command.c_str();
  const pid_t process = fork();
  if (process == 0) {
    // The host has other threads, whose locks the child may have copied: nothing but these two calls is safe.
    execl("/bin/sh", "sh", "-c", line, static_cast<char*>(nullptr));
    _exit(kShellNotExecuted);
  }
  return process;
}

bool WaitForRenderHelper(int process, const Filename& status, VideoPostStruct* vps, BaseContainer* settings) {
  if (process <= 0) return false;
  String shown;
  while (true) {
    const String message = ReadStatusMessage(status);
    if (message.IsPopulated() && message != shown) {
      UpdateRenderStatus(vps, settings, message, BusyIndicator::On, kKeepBar);
      shown = message;
    }
    if (StoppedByUser(vps)) {
      Stop(process);
      UpdateRenderStatus(vps, settings, String("Quillmere render cancelled"), BusyIndicator::Off, kKeepBar);
      return false;
    }
    const Helper helper = Poll(process);
    if (helper != Helper::Running) return helper == Helper::Succeeded;
    std::this_thread::sleep_for(kPause);
  }
}

}  // namespace quillmere
