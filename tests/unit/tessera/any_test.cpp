#include <gtest/gtest.h>

#include <memory>
#include <utility>

#include "vanta_filter/landmark/tessera_api.h"

using tessera::Any;

TEST(Any, IsNothingAtFirst) {
  const Any any;
  EXPECT_EQ(any.tag, Any::kNull);
  EXPECT_EQ(any.toFloat32(), 0.0F);
}

TEST(Any, KeepsItsNumberOrText) {
  EXPECT_EQ(Any(7).tag, Any::kInteger);
  EXPECT_EQ(Any(7).toFloat32(), 7.0F);
  EXPECT_EQ(Any("superfast").text, "superfast");
  EXPECT_EQ(Any(std::string("1.5")).toFloat32(), 1.5F);
}

TEST(Any, NullTextReadsAsAnEmptyOne) {
  const Any any(static_cast<const char *>(nullptr));
  EXPECT_EQ(any.tag, Any::kText);
  EXPECT_EQ(any.text, "");
}

TEST(Any, MissingKeyReadsAsTheFallback) {
  const Any map = Any::newMap("left", Any(3));
  const Any fallback(9);
  EXPECT_EQ(map.asMap().get("left", fallback).toFloat32(), 3.0F);
  EXPECT_EQ(&map.asMap().get("top", fallback), &fallback);
}

TEST(Any, CopyOfAMissingEntryIsTheFallbackToo) {
  Any map = Any::newMap("left", Any(3));
  EXPECT_EQ(map.asMap().get("top", Any(9)).toFloat32(), 9.0F);
}

TEST(Any, WrongTagsReadAsEmpty) {
  Any text("faces");
  EXPECT_TRUE(text.asMap().items.empty());
  EXPECT_TRUE(std::as_const(text).asMap().items.empty());
  EXPECT_TRUE(text.asVec().empty());
  EXPECT_EQ(Any::newMap("left", Any(3)).toFloat32(), 0.0F);
}

TEST(Any, WhatIsWrittenIntoNoMapIsLost) {
  Any number(1);
  number.asMap().items["left"] = Any(3);
  EXPECT_TRUE(number.asMap().items.empty());
  EXPECT_TRUE(Any(2).asMap().items.empty());
  EXPECT_EQ(number.toFloat32(), 1.0F);
}

TEST(Any, MapAndListTagsWithoutAPayloadReadAsEmpty) {
  Any any;
  any.tag = Any::kMap;
  EXPECT_TRUE(std::as_const(any).asMap().items.empty());
  EXPECT_TRUE(any.asMap().items.empty());
  Any list;
  list.tag = Any::kVector;
  EXPECT_TRUE(list.asVec().empty());
}

TEST(Any, AddedEntryReplacesOneOfThatName) {
  Any map("key", Any(1));
  map.addMapItem("key", Any(2));
  EXPECT_EQ(map.asMap().items.size(), 1U);
  EXPECT_EQ(map.asMap().get("key", Any(0)).toFloat32(), 2.0F);
}

TEST(Any, ValueThatWasNoMapBecomesOne) {
  Any any("text");
  any.addMapItem("key", Any(1));
  EXPECT_EQ(any.tag, Any::kMap);
  EXPECT_EQ(any.text, "");
}

TEST(Any, CopyOfAMapIsIndependent) {
  Any first = Any::newMap("key", Any(1));
  Any second = first;
  second.addMapItem("key", Any(2));
  first.asMap().items["other"] = Any(3);
  EXPECT_EQ(first.asMap().get("key", Any(0)).toFloat32(), 1.0F);
  EXPECT_EQ(second.asMap().items.size(), 1U);
}

TEST(Any, CopyOfAListIsIndependent) {
  Any first;
  first.tag = Any::kVector;
  first.asVec().push_back(Any(1));
  Any second = first;
  second.asVec().push_back(Any(2));
  EXPECT_EQ(first.asVec().size(), 1U);
  EXPECT_EQ(second.asVec().size(), 2U);
}

TEST(Any, ChangeDeepInACopyLeavesTheOriginal) {
  Any first = Any::newMap("landmarks_out", Any::newMap("count", Any(1)));
  Any second = first;
  second.asMap().items["landmarks_out"].addMapItem("count", Any(2));
  const Any &inner = std::as_const(first).asMap().get("landmarks_out", Any());
  EXPECT_EQ(inner.asMap().get("count", Any(0)).toFloat32(), 1.0F);
}

TEST(Any, MapPutIntoItselfHoldsACopyOfWhatItWas) {
  Any map = Any::newMap("a", Any(1));
  map.addMapItem("self", map);
  EXPECT_EQ(map.asMap().items.size(), 2U);
  EXPECT_EQ(map.asMap().items["self"].asMap().items.size(), 1U);
}

TEST(Any, EntryOfAMapCanReplaceThatMap) {
  Any map = Any::newMap("inner", Any::newMap("x", Any(5)));
  map = map.asMap().items["inner"];
  EXPECT_EQ(map.asMap().get("x", Any(0)).toFloat32(), 5.0F);
}

TEST(Any, TextThatIsNoNumberReadsAsZero) {
  EXPECT_EQ(Any("superfast").toFloat32(), 0.0F);
}

TEST(Any, CopiesShareAnObject) {
  Any first;
  first.tag = Any::kObject;
  first.payload = std::make_shared<int>(4);
  const Any second = first;
  EXPECT_EQ(second.payload.get(), first.payload.get());
}
