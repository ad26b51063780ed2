#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace quillmere::app {

// What may stand at the end of a command line.
struct Candidate {
  std::string text, meaning;  // the meaning may be empty
};

// For the last of `words`, which may be unfinished or empty; the command's own name isn't among them. Sub-commands,
// options, and for a value the choices, the scene's cameras, the catalog's workflows or the parameters' names. None
// where only the shell knows (files), and where what would have to be read can't be.
std::vector<Candidate> candidatesFor(const std::vector<std::string>& words, const CLI::App& root);

}  // namespace quillmere::app
