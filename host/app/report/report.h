#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/json.h"
#include "output.h"
#include "sdk/api/application.h"
#include "values/failure.h"
#include "values/frames.h"

namespace quillmere::app {

// What a render is about to do.
struct RenderPlan {
  std::string scene;                 // full path
  std::vector<std::string> cameras;  // by name, in the order in which they are rendered
  std::string frames;                // as --frames takes them
  std::int64_t count = 0;            // pictures: frames times cameras
  PictureSize size;
  std::string output;                 // pattern of the files
  std::string workflow;               // full path, empty when there is none
  Json settings;                      // see settingsOf
  std::vector<std::string> warnings;  // what the user may not expect, a line each
};

// How one frame ended.
// NOLINTNEXTLINE(bugprone-exception-escape): JSON tells of no move that can't fail
struct FrameReport {
  enum class State { Done, Failed, Stopped, Kept };  // Kept: the file was what it would have become

  std::int32_t frame = 0;
  std::string camera;
  State state = State::Failed;
  int result = 0;              // the host's result code
  std::string output;          // the file, empty unless done or kept
  std::string guide, picture;  // of the effect: the files of this frame, empty when there are none
  std::string error;           // why it failed, with the remedy; empty unless it did
  double seconds = 0;          // wall time of the whole frame
  Json parameters;             // of the effect's node, by ID
};

// How far a sequence of frames is.
struct SequenceProgress {
  std::int64_t count = 0, done = 0, kept = 0, failed = 0;  // failed: for good
  double seconds = 0;                                      // since it began
  std::optional<double> secondsAFrame;                     // of those rendered, on average
  std::optional<double> secondsLeft;                       // an estimate

  std::int64_t left() const { return count - done - kept - failed; }
};

// A frame that has failed for good.
struct FailedFrame {
  std::int32_t frame = 0;
  std::string camera, error;
  int tries = 1;
};

// What has become of a sequence.
struct SequenceSummary {
  SequenceProgress progress;
  std::vector<FailedFrame> failures;
  std::string missing;  // frames whose pictures are not whole, as --frames takes them; empty when there are none
  std::string command;  // for a shell, that renders just those; may be empty
};

// How far the helper is with a frame, as far as it tells.
struct Progress {
  std::int32_t frame = 0;
  std::string phase, message;
  std::optional<double> fraction;     // of the frame's whole job, 0 to 1
  std::optional<double> secondsLeft;  // an estimate, at least 0
  std::optional<std::int64_t> ahead;  // jobs that come before this one
  struct Steps {
    std::int64_t done = 0, all = 0;
  };
  std::optional<Steps> steps;  // of what runs now
  std::string preview;         // a picture of how it is going; empty without one, and gone when the frame ends
};

// Tells the user how a render goes. What the host is told arrives through Events, on the thread that renders.
class Report : public host::Events {
 public:
  virtual void renderBegins(const RenderPlan& /*plan*/) {}
  // Frame `frame`, the `index`th (from 0) of `count`, begins.
  virtual void frameBegins(std::int32_t /*frame*/, std::int64_t /*index*/, std::int64_t /*count*/) {}
  // After the status text of the same moment, and only when something has changed.
  virtual void progress(const Progress& /*progress*/) {}
  virtual void frameEnds(const FrameReport& report) = 0;
  // In place of the above: the frame is tried again, as the text says.
  virtual void frameFails(std::int32_t /*frame*/, const std::string& /*error*/) {}
  // Lines that its helper has printed, as they are.
  virtual void helperPrints(const std::string& /*lines*/) {}
  // Of several frames in flight, what follows is about this one.
  virtual void turnTo(std::int32_t /*frame*/, std::int64_t /*index*/, std::int64_t /*count*/) {}
  // What else there is to know of a frame.
  virtual void remark(std::int32_t /*frame*/, const std::string& /*text*/) {}
  // An error or a warning, which goes to standard error whatever the report is.
  virtual void trouble(const std::string& text) { printError(text); }
  // Of a render of more than one frame, whenever one has ended, and at the end.
  virtual void sequence(const SequenceProgress& /*progress*/) {}
  virtual void sequenceEnds(const SequenceSummary& /*summary*/) {}
  // The last of all; it holds an error only when something other than a frame's failure has ended the render.
  virtual void renderEnds(const Ending& /*ending*/) {}
  // Whether somebody may look at preview pictures.
  virtual bool wantsPreviews() const { return false; }
  // True once nobody reads standard output any more.
  virtual bool outputLost() const = 0;
  // Leaves the terminal as it was; the process may end right after. Any thread, never blocks.
  virtual void silence() {}
};

}  // namespace quillmere::app
