#include "call_log.h"

#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "c4d.h"

namespace quillmere {

CallLog callLog;

namespace {

template <class Function>
Function* next(const char* symbol) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, symbol));
}

}  // namespace
}  // namespace quillmere

using quillmere::callLog;
using quillmere::next;

extern "C" {

int kill(pid_t process, int signal) {
  callLog.ofProcesses.push_back("kill " + std::to_string(signal));
  return next<int(pid_t, int)>("kill")(process, signal);
}

pid_t waitpid(pid_t process, int* status, int options) {
  callLog.ofProcesses.emplace_back(options & WNOHANG ? "poll" : "reap");
  if (!(options & WNOHANG) && callLog.interruptions > 0) {
    --callLog.interruptions;
    errno = EINTR;
    return -1;
  }
  return next<pid_t(pid_t, int*, int)>("waitpid")(process, status, options);
}

int nanosleep(const timespec* time, timespec* rest) {
  callLog.ofProcesses.push_back("pause " + std::to_string(time->tv_sec * 1000 + time->tv_nsec / 1000000));
  return next<int(const timespec*, timespec*)>("nanosleep")(time, rest);
}

// In a child of a process with threads: nothing here may allocate.
int execl(const char* path, const char* first, ...) {
  static char command[8192];
  char* arguments[8] = {const_cast<char*>(first)};
  va_list rest;
  va_start(rest, first);
  for (std::size_t i = 1; i < 7 && arguments[i - 1]; ++i) arguments[i] = va_arg(rest, char*);
  va_end(rest);
  if (callLog.shellBecomesHelper && std::strcmp(arguments[1], "-c") == 0) {
    std::snprintf(command, sizeof command, "exec %s", arguments[2]);
    arguments[2] = command;
  }
  return execv(path, arguments);
}
}

namespace cinema {

Int32 VPBuffer::GetCpp() const {
  return callLog.components ? *callLog.components : next<Int32(const VPBuffer*)>("_ZNK6cinema8VPBuffer6GetCppEv")(this);
}

Bool VPBuffer::SetLine(Int32 x, Int32 y, Int32 count, void* data, Int32 bits, Bool dithering) const {
  if (callLog.components) {
    const float* const values = static_cast<const float*>(data);
    callLog.linesWritten.emplace_back(values, values + count * *callLog.components);
    return true;
  }
  using Function = Bool(const VPBuffer*, Int32, Int32, Int32, void*, Int32, Bool);
  return next<Function>("_ZNK6cinema8VPBuffer7SetLineEiiiPvib")(this, x, y, count, data, bits, dithering);
}

void BaseBitmap::ScaleBicubic(BaseBitmap* to, Int32 left, Int32 top, Int32 right, Int32 bottom, Int32 toLeft,
                              Int32 toTop, Int32 toRight, Int32 toBottom) const {
  std::string corners;
  for (const Int32 n : {left, top, right, bottom, toLeft, toTop, toRight, toBottom}) corners += std::to_string(n) + " ";
  callLog.ofScaling.push_back(corners);
  using Function = void(const BaseBitmap*, BaseBitmap*, Int32, Int32, Int32, Int32, Int32, Int32, Int32, Int32);
  next<Function>("_ZNK6cinema10BaseBitmap12ScaleBicubicEPS0_iiiiiiii")(this, to, left, top, right, bottom, toLeft,
                                                                       toTop, toRight, toBottom);
}

}  // namespace cinema
