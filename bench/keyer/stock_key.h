// libobs's stock chroma key on a source.
#pragma once

#include <obs.hpp>

#include "keyer_scene.h"

namespace keyer_bench {

struct StockSettings {
  bool picked = true;  // with the picked key colour; else with the filter's own green or blue
  int similarity = 400;
  int smoothness = 80;
  int spill = 100;
};

// Owns: the filter. Its result is premultiplied.
class StockKey {
 public:
  StockKey(obs_source_t *source, const Scene &scene, const StockSettings &stock);
  ~StockKey();
  StockKey(const StockKey &) = delete;
  StockKey &operator=(const StockKey &) = delete;

 private:
  OBSSource source_;
  OBSSourceAutoRelease filter_;
};

}  // namespace keyer_bench
