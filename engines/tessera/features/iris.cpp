#include "features/iris.h"

#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>
#include <vector>

namespace tessera {
namespace {

constexpr float kFaintest = 3;  // of what counts as an edge; below it is noise of the codes

struct Edge {
  cv::Point2f place;
  cv::Point2f direction;  // to the bright side, length 1
  float weight = 0;
};

std::vector<Edge> EdgesNear(const cv::Mat &smooth, cv::Point2f start, float radius) {
  cv::Mat dx;
  cv::Mat dy;
  cv::Sobel(smooth, dx, CV_32F, 1, 0);
  cv::Sobel(smooth, dy, CV_32F, 0, 1);
  std::vector<Edge> edges;
  float strongest = 0;
  for (int y = 1; y < smooth.rows - 1; ++y) {
    for (int x = 1; x < smooth.cols - 1; ++x) {
      const cv::Point2f place(static_cast<float>(x), static_cast<float>(y));
      if (std::hypot(place.x - start.x, place.y - start.y) > radius) continue;
      const cv::Point2f gradient(dx.at<float>(y, x), dy.at<float>(y, x));
      const float strength = std::hypot(gradient.x, gradient.y);
      if (strength < kFaintest) continue;
      strongest = std::max(strongest, strength);
      edges.push_back({place, gradient * (1 / strength), strength});
    }
  }
  const float least = strongest * 0.25F;
  edges.erase(std::remove_if(edges.begin(), edges.end(), [least](const Edge &edge) { return edge.weight < least; }),
              edges.end());
  for (Edge &edge : edges) edge.weight = std::min(1.0F, edge.weight / (strongest * 0.6F));
  return edges;
}

}  // namespace

std::optional<Iris> FindIris(const cv::Mat &luma, cv::Point2f start, float reach, float iris_radius) {
  cv::Mat smooth;
  cv::GaussianBlur(luma, smooth, cv::Size(0, 0), std::max(0.8, iris_radius * 0.18));
  const std::vector<Edge> edges = EdgesNear(smooth, start, reach + 1.6F * iris_radius);
  if (edges.size() < 8) return std::nullopt;

  float best = 0;
  cv::Point2f sum(0, 0);
  float weight_sum = 0;
  cv::Mat score = cv::Mat::zeros(luma.size(), CV_32F);
  const int first_y = std::max(0, cvCeil(start.y - reach));
  const int last_y = std::min(luma.rows - 1, cvFloor(start.y + reach));
  const int first_x = std::max(0, cvCeil(start.x - reach));
  const int last_x = std::min(luma.cols - 1, cvFloor(start.x + reach));
  for (int y = first_y; y <= last_y; ++y) {
    for (int x = first_x; x <= last_x; ++x) {
      const cv::Point2f centre(static_cast<float>(x), static_cast<float>(y));
      const float away = std::hypot(centre.x - start.x, centre.y - start.y) / reach;
      if (away > 1) continue;
      float agreement = 0;
      for (const Edge &edge : edges) {
        const cv::Point2f to_edge = edge.place - centre;
        const float distance = std::hypot(to_edge.x, to_edge.y);
        if (distance < 0.5F * iris_radius || distance > 1.6F * iris_radius) continue;
        const float along = to_edge.dot(edge.direction) / distance;
        if (along > 0) agreement += along * along * edge.weight * std::min(1.0F, iris_radius / distance);
      }
      const float darkness = 255.0F - static_cast<float>(smooth.at<uint8_t>(y, x));
      const float value = agreement * darkness * (1 - 0.5F * away * away);
      score.at<float>(y, x) = value;
      best = std::max(best, value);
    }
  }
  if (best <= 0) return std::nullopt;
  // The middle of the peak, finer than a pixel.
  for (int y = first_y; y <= last_y; ++y) {
    for (int x = first_x; x <= last_x; ++x) {
      const float above = score.at<float>(y, x) - 0.9F * best;
      if (above <= 0) continue;
      sum += cv::Point2f(static_cast<float>(x), static_cast<float>(y)) * above;
      weight_sum += above;
    }
  }
  return Iris{sum * (1 / weight_sum), best};
}

}  // namespace tessera
