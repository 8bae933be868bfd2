// What effects have to say to the caller, kept until it can be said.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <string>

namespace LX {
struct BoomGameData;
}

namespace lumivex {

// The callbacks come from Deliver alone, in the order in which things were said, and may call the engine back. What is
// said meanwhile waits for the next Deliver, so that two who answer each other cannot hold a frame up.
// Owns: the callbacks, what is not yet said. Threads: one at a time.
class EffectOutbox {
 public:
  using DescriptionCallback = std::function<void(const std::string &, bool)>;
  using GameDataCallback = std::function<void(const LX::BoomGameData &)>;

  void SetDescriptionCallback(DescriptionCallback callback) { description_callback_ = std::move(callback); }
  void SetGameDataCallback(GameDataCallback callback) { game_data_callback_ = std::move(callback); }

  void Describe(std::string description, bool success);
  // `json` is an object; it gets the next sequence number where it has none.
  void SendGameData(const std::string &json);
  // The request by which the host learns that an effect is over.
  void SendClearEffect();

  // Exceptions of callbacks are caught; the first of each kind of callback is logged.
  void Deliver();

 private:
  struct Item {
    bool game_data;
    std::string text;
    bool success;
  };

  static constexpr size_t kMaxItems = 256;

  void Keep(Item item);
  void Say(const Item &item);
  void SayOnce(bool &said, const char *callback, const char *error);

  DescriptionCallback description_callback_;
  GameDataCallback game_data_callback_;
  std::deque<Item> items_;
  bool delivering_ = false;
  int64_t next_sequence_ = 1;
  bool overflow_logged_ = false;
  bool description_failure_logged_ = false;
  bool game_data_failure_logged_ = false;
};

}  // namespace lumivex
