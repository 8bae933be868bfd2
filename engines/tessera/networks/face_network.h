// A trained network that finds faces, in a file that the user has put beside the models.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "vision/picture_view.h"

namespace tessera {

// Owns: the network. Threads: one at a time; on the calling thread alone.
class FaceNetwork {
 public:
  // Throws where the file is no network that tells faces; the reason is in what().
  explicit FaceNetwork(const std::string &file);
  ~FaceNetwork();
  FaceNetwork(const FaceNetwork &) = delete;
  FaceNetwork &operator=(const FaceNetwork &) = delete;

  // Where the pupils of each face in the picture are, the surest face first. Throws where the network cannot take a
  // picture of that shape.
  std::vector<Placement> Find(const PictureView &picture);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace tessera
