// What a formula needs so that it can be written once, for one number and for four side by side.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <opencv2/core/hal/intrin.hpp>

namespace lumivex {

using Lanes = cv::v_float32x4;
inline constexpr int kLanes = 4;

template <typename Value>
Value All(float number) {
  return number;
}
template <>
inline Lanes All<Lanes>(float number) {
  return cv::v_setall_f32(number);
}

inline float Lesser(float a, float b) {
  return std::min(a, b);
}
inline Lanes Lesser(const Lanes &a, const Lanes &b) {
  return cv::v_min(a, b);
}
inline float Greater(float a, float b) {
  return std::max(a, b);
}
inline Lanes Greater(const Lanes &a, const Lanes &b) {
  return cv::v_max(a, b);
}
inline float Root(float a) {
  return std::sqrt(a);
}
inline Lanes Root(const Lanes &a) {
  return cv::v_sqrt(a);
}
inline float Magnitude(float a) {
  return std::fabs(a);
}
inline Lanes Magnitude(const Lanes &a) {
  return cv::v_abs(a);
}
// `number` where `test` is above 0, else 0.
inline float WhereAbove0(float test, float number) {
  return test > 0.0f ? number : 0.0f;
}
inline Lanes WhereAbove0(const Lanes &test, const Lanes &number) {
  return cv::v_select(test > cv::v_setzero_f32(), number, cv::v_setzero_f32());
}

// Up to four values, from a row that has `count` of them from there on.
inline Lanes LoadSome(const float *row, int count) {
  if (count >= kLanes) return cv::v_load(row);
  float values[kLanes] = {};
  std::copy_n(row, count, values);
  return cv::v_load(values);
}
inline Lanes LoadSome(const uint8_t *row, int count) {
  alignas(sizeof(int)) uint8_t values[kLanes] = {};
  if (count >= kLanes) {
    std::memcpy(values, row, kLanes);
  } else {
    std::copy_n(row, count, values);
  }
  return cv::v_cvt_f32(cv::v_reinterpret_as_s32(cv::v_load_expand_q(values)));
}
inline void StoreSome(const Lanes &lanes, int count, float *row) {
  if (count >= kLanes) return cv::v_store(row, lanes);
  float values[kLanes];
  cv::v_store(values, lanes);
  std::copy_n(values, count, row);
}
// Cut to whole numbers, 0 to 255.
inline void StoreSome(const Lanes &lanes, int count, uint8_t *row) {
  const cv::v_int32x4 whole = cv::v_trunc(lanes);
  const cv::v_int16x8 halves = cv::v_pack(whole, whole);
  const int bytes = cv::v_reinterpret_as_s32(cv::v_pack_u(halves, halves)).get0();
  if (count >= kLanes) {
    std::memcpy(row, &bytes, kLanes);
  } else {
    std::memcpy(row, &bytes, static_cast<size_t>(count));
  }
}

// 0 to 1.
template <typename Value>
Value Share(const Value &number) {
  return Lesser(Greater(number, All<Value>(0.0f)), All<Value>(1.0f));
}
// How far the value is on its way from one number to another, 0 to 1.
template <typename Value>
Value Part(float from, float to, const Value &value) {
  return Share<Value>((value - All<Value>(from)) * All<Value>(1.0f / (to - from)));
}
// The same, level at both ends.
template <typename Value>
Value SmoothPart(const Value &part) {
  return part * part * (All<Value>(3.0f) - All<Value>(2.0f) * part);
}
template <typename Value>
Value Smooth(float from, float to, const Value &value) {
  return SmoothPart<Value>(Part<Value>(from, to, value));
}

}  // namespace lumivex
