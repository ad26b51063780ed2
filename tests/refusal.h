#pragma once

#include <string>

// The text of the Failure that `action` ends in; empty when it ends well. What else it throws goes on.
template <class Failure, class Action>
std::string refusalOf(const Action& action) {
  try {
    action();
  } catch (const Failure& failure) {
    return failure.what();
  }
  return {};
}
