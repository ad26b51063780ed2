#include "prompt.h"

#include "../res/description/vpquillmere.h"
#include "bridge/text.h"

namespace quillmere {

using namespace cinema;

String GetDefaultSystemPrompt() {
  return FromUtf8(kDefaultSystemPrompt);
}

String ComposePrompt(const BaseContainer& settings) {
  String result = settings.GetString(QUILLMERE_SYSTEM_PROMPT);
  const String prompt = settings.GetString(QUILLMERE_PROMPT);
  if (prompt.IsEmpty()) return result;
  if (result.IsPopulated()) result += String(" ");
  result += prompt;
  return result;
}

}  // namespace quillmere
