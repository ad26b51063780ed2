#pragma once

#include <string>

#include "report.h"

// What a report tells people, in words.
namespace quillmere::app {

// How the frame ended and the files of one that is there, one a line.
std::string textOf(const FrameReport& report);

// Lines that are harmless to terminals.
std::string printableLines(const std::string& text);

// One line without its end: "12 of 240 frames: 3 kept, 8 done, 1 failed; 34 s a frame, about 2 h left, until 03:14".
// The time of day is the machine's.
std::string textOf(const SequenceProgress& progress);

// Which frames are missing and the command that renders them, in lines; empty when none are.
std::string missingText(const SequenceSummary& summary);

// The same at the end, a line for each of the first failures, and the command that renders what is missing.
std::string textOf(const SequenceSummary& summary);

}  // namespace quillmere::app
