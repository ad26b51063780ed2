#include "leftovers.h"

#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <regex>
#include <string>

namespace quillmere::app {
namespace {

namespace fs = std::filesystem;

constexpr std::time_t kSettled = 60;  // seconds

// The process that a temporary file's name tells; 0 for other files.
pid_t makerOf(const std::string& name) {
  static const std::regex pattern(R"(\.quillmere-([1-9][0-9]{0,8})-[0-9]+\.part|\..+[._]([1-9][0-9]{0,8})\.part)");
  std::smatch found;
  if (!std::regex_match(name, found, pattern)) return 0;
  return static_cast<pid_t>(std::stol(found[found[1].matched ? 1 : 2]));
}

// One that has ended counts, though nobody has asked for its end yet: in containers it often stays so.
bool isGone(pid_t process) {
  if (::kill(process, 0) != 0) return errno == ESRCH;
  const std::string facts = "/proc/" + std::to_string(process);
  char program = 0;
  return ::access(facts.c_str(), F_OK) == 0 && ::readlink((facts + "/exe").c_str(), &program, 1) < 0 && errno == ENOENT;
}

}  // namespace

void sweepLeftovers(const fs::path& folder) {
  std::error_code error;
  for (fs::directory_iterator entry(folder.empty() ? "." : folder, error), end; !error && entry != end;
       entry.increment(error)) {
    const pid_t maker = makerOf(entry->path().filename());
    struct stat facts {};
    const bool ours = maker > 0 && ::lstat(entry->path().c_str(), &facts) == 0 && S_ISREG(facts.st_mode) &&
                      facts.st_uid == ::geteuid();
    if (ours && std::time(nullptr) - facts.st_mtime > kSettled && isGone(maker)) ::unlink(entry->path().c_str());
  }
}

}  // namespace quillmere::app
