#include <algorithm>

#include "vanta_filter/module/host_extensions.h"

void FrameRateCalcCenter::AddObserver(FrameRateCalcObserver *observer) {
  const std::lock_guard<std::mutex> held(lock);
  observers.push_back(observer);
}

void FrameRateCalcCenter::RemoveObserver(FrameRateCalcObserver *observer) {
  const std::lock_guard<std::mutex> held(lock);
  observers.erase(std::remove(observers.begin(), observers.end(), observer), observers.end());
}
