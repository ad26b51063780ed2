#pragma once

#include <string>
#include <vector>

#include "base/json.h"

namespace quillmere::studio {

// What a page asks to be rendered: options of `quillmere render` by their names, fields of the panel by their
// parameters' names, and the workflow's controls as --control takes them.
//
//   {"scene": "/s/harbour.glb", "frame": 7,
//    "options": {"camera": ["Street"], "frames": "1-24", "size": "640x360", "loop": true},
//    "set": {"QUILLMERE_PROMPT": "fog"}, "control": {"wash": "0.6"}}

enum class JobFrames { Current, All };  // the "frame", or the "frames" among the options

// The words of a command of this program that has such options: render, panel, guide. Those that it doesn't have are
// left out. A value is never a word of its own that could be an option. Throws Refused (400) for what is no job, and
// for options that a page may not give.
std::vector<std::string> wordsFor(const std::string& command, const Json& job, JobFrames frames = JobFrames::Current);

// The values of a workflow's controls in `holder`, as --control has them. Throws Refused (400).
std::vector<std::string> controlWords(const Json& holder);

// Throws what `quillmere render` would say of the words without looking at what they name.
void requireRender(const std::vector<std::string>& words);

// The options that a page may give and the panel doesn't have: [{"name", "help", "takes": "flag"|"text"|[word, ...],
// "example", "group"}, ...], as help tells them.
Json offeredOptions();

// The job that shows the same as `saved`, which --save-job has written. `rows` is the panel with it, `plain` the one
// without: what doesn't differ isn't said.
Json jobFrom(const Json& saved, const Json& rows, const Json& plain);

}  // namespace quillmere::studio
