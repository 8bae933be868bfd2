#include "networks/network_cost.h"

#include <stdexcept>
#include <string>

namespace tessera {
namespace {

constexpr size_t kMostBytes = size_t{1} << 30;       // of all layers' outputs
constexpr int64_t kMostOperations = 50'000'000'000;  // some seconds on one processor

}  // namespace

void RequireModestNetwork(const cv::dnn::Net &net, cv::Size picture) {
  const cv::dnn::MatShape shape = {1, 3, picture.height, picture.width};
  size_t weights = 0, outputs = 0;
  net.getMemoryConsumption(shape, weights, outputs);
  const int64_t operations = net.getFLOPS(shape);
  if (outputs > kMostBytes || operations < 0 || operations > kMostOperations) {
    throw std::runtime_error("a picture would take it " + std::to_string(outputs >> 20) + " MiB of memory and " +
                             std::to_string(operations / 1'000'000'000) + " billion operations");
  }
}

}  // namespace tessera
