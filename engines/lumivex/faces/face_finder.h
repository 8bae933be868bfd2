// Finds the faces of frames with the vision runner.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>

#include "faces/face_tree.h"
#include "faces/faces.h"
#include "faces/upright_picture.h"
#include "files/loading.h"
#include "pixels/nv12_view.h"
#include "pixels/orientation.h"

namespace tessera {
class TesseraOut;
class TesseraRunner;
}  // namespace tessera

namespace lumivex {

// What a frame's faces are for.
enum class FaceNeed {
  kNone,
  kReport,   // told to the host: so many times a second
  kPicture,  // drawn upon: on every frame
};

// Owns: the runner, which the loader makes when it is first needed; the faces found last. Borrows: the frame, for the
// call; the loader, which outlives it. Threads: one at a time.
class FaceFinder {
 public:
  static constexpr uint64_t kReportInterval = 1'000'000'000 / 15;  // nanoseconds of the frames' time

  explicit FaceFinder(Loader &loader) : loader_(loader) {}

  // Where the runner looks for its models; what it finds there counts from the next frame on.
  void SetModelFolder(std::string folder);
  // Parameters of the runner by name, numbers as text. Those that are not named stay as they are. With "sync_detect" 1
  // each frame waits for its own faces, and the same frames give the same ones; usually it is 0, and the runner
  // searches beside them.
  void SetParams(const std::map<std::string, std::string> &params);

  // Whether a frame waits while the runner's models are being read; until then it does not.
  void AwaitModels(bool await) { awaits_models_ = await; }

  // Whether the runner has looked at this frame; while its models are being read it looks at none. `timestamp` in
  // nanoseconds; one that does not rise tells no time.
  bool Find(const Nv12View &view, const Orientation &orientation, uint64_t timestamp, FaceNeed need);

  // Of the last frame that was looked at; none while there is no need.
  const Faces &Found() const { return faces_; }
  // Beside the frames' thread, for all of the runner's pictures up to that frame.
  const SearchTime &TimeOfSearch() const { return search_time_; }
  // The runner's own result for it, in the frame's pixels. Null where it gave none.
  std::shared_ptr<tessera::TesseraOut> Result() const { return result_; }

 private:
  struct RunnerRead {
    static RunnerRead Failed(std::string reason) { return {nullptr, std::move(reason)}; }
    std::shared_ptr<tessera::TesseraRunner> runner;  // null: none can be had, as it says itself
    std::string reason;                              // where it does not
  };

  bool IsDue(uint64_t timestamp, FaceNeed need);
  bool MakeRunner();
  void HandParams();
  void SetOrientation(const Orientation &orientation);
  void Run();

  Loader &loader_;
  std::string model_folder_;
  std::map<std::string, std::string> params_ = {{"max_face_num", "3"}, {"sync_detect", "0"}};
  std::shared_ptr<tessera::TesseraRunner> runner_;
  Loading<RunnerRead> runner_loading_;
  bool awaits_models_ = false;
  bool refused_ = false;  // no runner with this model folder
  UprightPicture picture_;
  std::shared_ptr<tessera::TesseraOut> result_;
  Faces faces_;
  SearchTime search_time_;
  Orientation orientation_;
  bool has_looked_ = false;
  uint64_t looked_at_ = 0;       // nanoseconds
  bool failure_logged_ = false;  // since the runner last did its work
};

}  // namespace lumivex
