#include "stock_key.h"

namespace keyer_bench {

StockKey::StockKey(obs_source_t *source, const Scene &scene, const StockSettings &stock) : source_(source) {
  const OBSDataAutoRelease settings = obs_data_create();
  const auto byte = [](float value) { return static_cast<uint32_t>(value * 255 + 0.5f); };
  const Colour key = scene.Backing();
  const char *own = scene.Options().blue ? "blue" : "green";
  obs_data_set_string(settings, "key_color_type", stock.picked ? "custom" : own);
  obs_data_set_int(settings, "key_color", byte(key.r) | byte(key.g) << 8 | byte(key.b) << 16);
  obs_data_set_int(settings, "similarity", stock.similarity);
  obs_data_set_int(settings, "smoothness", stock.smoothness);
  obs_data_set_int(settings, "spill", stock.spill);
  filter_ = obs_source_create("chroma_key_filter_v2", "stock", settings, nullptr);
  obs_source_filter_add(source_, filter_);
}

StockKey::~StockKey() {
  // libobs itself is not safe against a removal while it renders.
  obs_enter_graphics();
  obs_source_filter_remove(source_, filter_);
  obs_leave_graphics();
}

}  // namespace keyer_bench
