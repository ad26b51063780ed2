#pragma once

#include <optional>
#include <string>
#include <vector>

namespace quillmere {

// What the module's code asks of the system and of render buffers, and how they are to answer. This program defines
// the functions itself, before the libraries that it takes them from, and passes the calls on.
struct CallLog {
  std::vector<std::string> ofProcesses;  // "poll", "pause MILLISECONDS", "kill SIGNAL", "reap"
  int interruptions = 0;                 // so many waits for a process's end are interrupted first
  bool shellBecomesHelper = false;       // whether /bin/sh gives its process to the command, as some shells do

  std::vector<std::string> ofScaling;  // the two rectangles
  std::optional<int> components;       // of every buffer; what is written into it then goes here:
  std::vector<std::vector<float>> linesWritten;
};
extern CallLog callLog;

}  // namespace quillmere
