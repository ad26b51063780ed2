#include "search.h"

#include <algorithm>
#include <array>

namespace quillmere::studio {
namespace {

struct FactName {
  const char* name;
  enum class Asks { Part, Beginning, Whole } asks;
};
using Asks = FactName::Asks;
constexpr std::array kFactNames{
    FactName{"prompt", Asks::Part}, FactName{"workflow", Asks::Part}, FactName{"camera", Asks::Part},
    FactName{"scene", Asks::Part},  FactName{"note", Asks::Part},     FactName{"seed", Asks::Whole},
    FactName{"frame", Asks::Whole}, FactName{"status", Asks::Part},   FactName{"date", Asks::Beginning}};

const FactName* factNamed(const std::string& name) {
  const auto found =
      std::find_if(kFactNames.begin(), kFactNames.end(), [&](const auto& one) { return one.name == name; });
  return found == kFactNames.end() ? nullptr : found;
}

bool holds(const std::string& fact, Asks asks, const std::string& asked) {
  if (asks == Asks::Whole) return fact == asked;
  return asks == Asks::Beginning ? fact.starts_with(asked) : fact.find(asked) != std::string::npos;
}

// The next word of `text` from `at` on, which then stands behind it; double quotes keep blanks together, and are left
// out.
std::string nextWord(const std::string& text, std::size_t& at) {
  at = std::min(text.find_first_not_of(" \t\n", at), text.size());
  std::string word;
  for (bool quoted = false; at < text.size(); ++at) {
    if (!quoted && (text[at] == ' ' || text[at] == '\t' || text[at] == '\n')) break;
    if (text[at] == '"') {
      quoted = !quoted;
    } else {
      word += text[at];
    }
  }
  return word;
}

}  // namespace

std::string lowered(std::string text) {
  for (char& letter : text) {
    if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
  }
  return text;
}

Search::Search(const std::string& text) {
  const std::string asked = lowered(text);
  for (std::size_t at = 0; at < asked.size();) {
    const std::string word = nextWord(asked, at);
    const std::size_t colon = word.find(':');
    const std::string name = word.substr(0, colon);
    if (colon != std::string::npos && factNamed(name) != nullptr) {
      facts_.emplace_back(name, word.substr(colon + 1));
    } else if (!word.empty()) {
      words_.push_back(word);
    }
  }
}

bool Search::accepts(const std::string& words, const std::function<std::string(const std::string&)>& fact) const {
  return std::all_of(words_.begin(), words_.end(),
                     [&](const std::string& word) { return words.find(word) != std::string::npos; }) &&
         std::all_of(facts_.begin(), facts_.end(), [&](const auto& one) {
           return one.second.empty() || holds(fact(one.first), factNamed(one.first)->asks, one.second);
         });
}

}  // namespace quillmere::studio
