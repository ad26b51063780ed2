#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "log.h"
#include "report/told_once.h"
#include "sequence.h"

namespace quillmere::app {

// How the processes that render side by side are started.
struct Workers {
  int count = 1;
  std::vector<std::string> arguments;    // of this program, without the write directory
  std::filesystem::path writeDirectory;  // the main one; each has one of its own below
  ToldOnce::Reader reader = ToldOnce::Reader::Person;
};

// All shots of the sequence, several at a time, each in a process of its own that renders one after the other. What
// they leave is shown in the main write directory. One that dies is replaced; its shot may be tried again. When this
// returns no process runs below this one; it waits for those that `stop` has ended. The report is told on this thread
// alone; it is told which frame comes next before it is told anything about one. Throws Error when no process can be
// started, or when all of them end before they have begun.
void renderSideBySide(Sequence& sequence, const Workers& workers, Report& report, SequenceLog& log,
                      const std::function<bool()>& stop);

}  // namespace quillmere::app
