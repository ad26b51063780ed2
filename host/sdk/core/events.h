#pragma once

#include <string>
#include <string_view>

#include "ge_prepass.h"
#include "image/image.h"

namespace quillmere::host {

// How a line on the console begins that says why the host has drawn nothing.
inline constexpr std::string_view kUndrawn = "quillmere: the scene is not drawn: ";

// The same when a picture that a module wanted made or scaled was not: what the module goes on with instead is not what
// it should be, and it may not know.
inline constexpr std::string_view kNotMade = "quillmere: a picture is not made: ";

// What the host is told while it works, in the order in which it is told. Called on the thread that renders.
class QM_HOST_API Events {
 public:
  virtual ~Events() = default;
  virtual void statusText(const std::string& /*utf8*/) {}
  virtual void statusSpin(bool /*on*/) {}
  virtual void statusBar(double /*fraction, 0 to 1*/) {}
  virtual void console(const std::string& /*utf8 line*/) {}
  virtual void command(int /*id*/, int /*subid*/) {}
  virtual void pictureViewer(const image::Image& /*shown*/) {}
};

}  // namespace quillmere::host
