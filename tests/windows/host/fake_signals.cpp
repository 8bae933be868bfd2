// Calldata and signal handlers. A calldata's buffer is a row of entries: length of the name, name, length of the value,
// value; lengths are size_t, a length of 0 ends the row.
#include <cstring>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include <callback/calldata.h>
#include <callback/signal.h>

namespace {

struct Entry {
  std::string name;
  std::vector<uint8_t> value;
};

std::vector<Entry> Read(const calldata_t *data) {
  std::vector<Entry> entries;
  const uint8_t *next = data->stack;
  const auto length = [&] {
    size_t value;
    std::memcpy(&value, next, sizeof(value));
    next += sizeof(value);
    return value;
  };
  while (next) {
    const size_t name = length();
    if (name == 0) break;
    Entry entry;
    entry.name.assign(reinterpret_cast<const char *>(next), name);
    next += name;
    const size_t value = length();
    entry.value.assign(next, next + value);
    next += value;
    entries.push_back(std::move(entry));
  }
  return entries;
}

std::vector<uint8_t> Write(const std::vector<Entry> &entries) {
  std::vector<uint8_t> bytes;
  const auto append = [&](const void *from, size_t size) {
    const uint8_t *first = static_cast<const uint8_t *>(from);
    bytes.insert(bytes.end(), first, first + size);
  };
  const auto length = [&](size_t value) { append(&value, sizeof(value)); };
  for (const Entry &entry : entries) {
    length(entry.name.size());
    append(entry.name.data(), entry.name.size());
    length(entry.value.size());
    append(entry.value.data(), entry.value.size());
  }
  length(0);
  return bytes;
}

}  // namespace

struct signal_handler {
  struct Connection {
    signal_callback_t callback;
    void *param;
    bool operator==(const Connection &) const = default;
  };
  std::recursive_mutex mutex;
  std::map<std::string, std::vector<Connection>> connections;
};

extern "C" {

void calldata_set_data(calldata_t *data, const char *name, const void *in, size_t size) {
  if (!data || !name || !*name) return;
  std::vector<Entry> entries = Read(data);
  const uint8_t *first = static_cast<const uint8_t *>(in);
  const std::vector<uint8_t> value(first, first + size);
  bool found = false;
  for (Entry &entry : entries) {
    if (entry.name != name) continue;
    entry.value = value;
    found = true;
  }
  if (!found) entries.push_back({name, value});
  const std::vector<uint8_t> bytes = Write(entries);
  if (bytes.size() > data->capacity) {
    if (data->fixed) return;
    data->stack = static_cast<uint8_t *>(brealloc(data->stack, bytes.size()));
    data->capacity = bytes.size();
  }
  std::memcpy(data->stack, bytes.data(), bytes.size());
  data->size = bytes.size();
}

bool calldata_get_data(const calldata_t *data, const char *name, void *out, size_t size) {
  if (!data || !name) return false;
  for (const Entry &entry : Read(data)) {
    if (entry.name != name || entry.value.size() != size) continue;
    std::memcpy(out, entry.value.data(), size);
    return true;
  }
  return false;
}

signal_handler_t *signal_handler_create(void) {
  return new signal_handler;
}

void signal_handler_destroy(signal_handler_t *handler) {
  delete handler;
}

// Every name may be signalled here, declared or not.
bool signal_handler_add(signal_handler_t *, const char *) {
  return true;
}

void signal_handler_connect(signal_handler_t *handler, const char *name, signal_callback_t callback, void *param) {
  std::lock_guard<std::recursive_mutex> lock(handler->mutex);
  handler->connections[name].push_back({callback, param});
}

void signal_handler_disconnect(signal_handler_t *handler, const char *name, signal_callback_t callback, void *param) {
  std::lock_guard<std::recursive_mutex> lock(handler->mutex);
  std::erase(handler->connections[name], signal_handler::Connection{callback, param});
}

void signal_handler_signal(signal_handler_t *handler, const char *name, calldata_t *params) {
  if (!handler) return;
  std::lock_guard<std::recursive_mutex> lock(handler->mutex);
  const auto found = handler->connections.find(name);
  if (found == handler->connections.end()) return;
  for (const signal_handler::Connection &connection : found->second) connection.callback(connection.param, params);
}
}
