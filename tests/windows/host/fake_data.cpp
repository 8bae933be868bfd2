// Settings objects: a map with a reference count.
#include <atomic>
#include <map>
#include <string>
#include <variant>
#include <vector>

#include <obs-data.h>

#include "fake_host.h"

namespace {

std::atomic<long> alive{0};

class Held;
class HeldArray;

}  // namespace

struct obs_data {
  obs_data() { ++alive; }
  ~obs_data() { --alive; }

  std::atomic<long> refs{1};
  std::map<std::string, std::variant<long long, bool, double, std::string, Held, HeldArray>> values;
};

struct obs_data_item {
  obs_data_type type;
};

struct obs_data_array {
  std::atomic<long> refs{1};
  std::vector<obs_data_t *> items;
};

namespace {

// One reference to an object inside another.
class Held {
 public:
  explicit Held(obs_data_t *data) : data_(data) { obs_data_addref(data_); }
  Held(const Held &other) : Held(other.data_) {}
  Held &operator=(const Held &other) {
    obs_data_addref(other.data_);
    obs_data_release(data_);
    data_ = other.data_;
    return *this;
  }
  ~Held() { obs_data_release(data_); }
  obs_data_t *get() const { return data_; }

 private:
  obs_data_t *data_;
};

// The same for an array.
class HeldArray {
 public:
  explicit HeldArray(obs_data_array_t *array) : array_(array) { obs_data_array_addref(array_); }
  HeldArray(const HeldArray &other) : HeldArray(other.array_) {}
  HeldArray &operator=(const HeldArray &other) {
    obs_data_array_addref(other.array_);
    obs_data_array_release(array_);
    array_ = other.array_;
    return *this;
  }
  ~HeldArray() { obs_data_array_release(array_); }

 private:
  obs_data_array_t *array_;
};

template <typename Value>
const Value *Find(obs_data_t *data, const char *name) {
  if (!data || !name) return nullptr;
  const auto found = data->values.find(name);
  return found == data->values.end() ? nullptr : std::get_if<Value>(&found->second);
}

template <typename Value>
void Set(obs_data_t *data, const char *name, Value value) {
  if (data && name) data->values.insert_or_assign(name, std::move(value));
}

}  // namespace

namespace vanta_test::fake_host {

long SettingsAlive() {
  return alive;
}

}  // namespace vanta_test::fake_host

extern "C" {

obs_data_t *obs_data_create() {
  return new obs_data;
}

void obs_data_addref(obs_data_t *data) {
  if (data) ++data->refs;
}

void obs_data_release(obs_data_t *data) {
  if (data && --data->refs == 0) delete data;
}

void obs_data_apply(obs_data_t *target, obs_data_t *from) {
  if (!target || !from || target == from) return;
  for (const auto &[name, value] : from->values) target->values.insert_or_assign(name, value);
}

bool obs_data_has_user_value(obs_data_t *data, const char *name) {
  return data && name && data->values.count(name) != 0;
}

obs_data_item_t *obs_data_item_byname(obs_data_t *data, const char *name) {
  // In the order of the variant.
  constexpr obs_data_type kTypes[] = {OBS_DATA_NUMBER, OBS_DATA_BOOLEAN, OBS_DATA_NUMBER,
                                      OBS_DATA_STRING, OBS_DATA_OBJECT,  OBS_DATA_ARRAY};
  if (!obs_data_has_user_value(data, name)) return nullptr;
  return new obs_data_item{kTypes[data->values.find(name)->second.index()]};
}
obs_data_type obs_data_item_gettype(obs_data_item_t *item) {
  return item ? item->type : OBS_DATA_NULL;
}
void obs_data_item_release(obs_data_item_t **item) {
  if (!item) return;
  delete *item;
  *item = nullptr;
}

void obs_data_set_string(obs_data_t *data, const char *name, const char *value) {
  Set(data, name, std::string(value ? value : ""));
}
void obs_data_set_int(obs_data_t *data, const char *name, long long value) {
  Set(data, name, value);
}
void obs_data_set_bool(obs_data_t *data, const char *name, bool value) {
  Set(data, name, value);
}
void obs_data_set_obj(obs_data_t *data, const char *name, obs_data_t *value) {
  if (value) Set(data, name, Held(value));
}

void obs_data_set_double(obs_data_t *data, const char *name, double value) {
  Set(data, name, value);
}
void obs_data_set_array(obs_data_t *data, const char *name, obs_data_array_t *value) {
  if (value) Set(data, name, HeldArray(value));
}

obs_data_array_t *obs_data_array_create() {
  return new obs_data_array;
}
void obs_data_array_addref(obs_data_array_t *array) {
  if (array) ++array->refs;
}
void obs_data_array_release(obs_data_array_t *array) {
  if (!array || --array->refs != 0) return;
  for (obs_data_t *item : array->items) obs_data_release(item);
  delete array;
}
size_t obs_data_array_push_back(obs_data_array_t *array, obs_data_t *item) {
  if (!array || !item) return 0;
  obs_data_addref(item);
  array->items.push_back(item);
  return array->items.size() - 1;
}

const char *obs_data_get_string(obs_data_t *data, const char *name) {
  const std::string *value = Find<std::string>(data, name);
  return value ? value->c_str() : "";
}
long long obs_data_get_int(obs_data_t *data, const char *name) {
  const long long *value = Find<long long>(data, name);
  return value ? *value : 0;
}
bool obs_data_get_bool(obs_data_t *data, const char *name) {
  const bool *value = Find<bool>(data, name);
  return value && *value;
}
obs_data_t *obs_data_get_obj(obs_data_t *data, const char *name) {
  const Held *value = Find<Held>(data, name);
  if (value) obs_data_addref(value->get());
  return value ? value->get() : nullptr;
}
}
