#pragma once

#include <optional>
#include <string>
#include <vector>

#include "sequence/sequence.h"

namespace CLI {
class App;
}

namespace quillmere::app {

// How `render` goes about several frames.
struct SequenceOptions {
  bool resume = false;
  FailureRules rules;
  std::optional<int> jobs;         // none: what pays
  std::optional<std::string> log;  // none: beside the output, of more than one frame; empty: no log
  bool worker = false;             // this process renders for another one
};

inline constexpr int kMostJobs = 64;

void addSequenceOptions(CLI::App& command, SequenceOptions& options);

// The command line that was parsed, without the named options: one word an option with its value.
std::vector<std::string> argumentsOf(const CLI::App& command, const std::vector<std::string>& without);

// For a worker, whose write directory is still to be added: what says what the pictures become, and nothing of what
// becomes of them.
std::vector<std::string> workerArguments(const CLI::App& command, const std::string& plugin,
                                         const std::string& pictures);

// Of a process that is told what to render by another one.
inline constexpr const char* kWorkerOption = "--worker";

// What a shell takes to run this program with these arguments.
std::string shellLine(const std::vector<std::string>& arguments);

// What of a sequence follows from all its frames, and would be another for some of them: where the host's own camera
// stands, how deep what is seen lies. Empty where there is none.
struct OfAllFrames {
  std::string view, depthRange;
};

// What a shell takes, to render these frames of the same sequence to the same files.
std::string commandFor(const CLI::App& command, const std::string& frames, const std::string& output,
                       const OfAllFrames& kept);

}  // namespace quillmere::app
