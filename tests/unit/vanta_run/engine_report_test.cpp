#include "output/engine_report.h"

#include <gtest/gtest.h>

namespace {

using vanta_run::EngineMilliseconds;

TEST(EngineReport, CountsTheSearchForFacesWithTheRest) {
  EXPECT_EQ(EngineMilliseconds(R"({"beauty_ms": 1.75, "tessera_ms": 180.25})"), 182.0);
}

TEST(EngineReport, NeedsNoSearchForFaces) {
  EXPECT_EQ(EngineMilliseconds(R"({"beauty_ms": 1.75})"), 1.75);
  EXPECT_EQ(EngineMilliseconds(R"({"beauty_ms": 1.75, "tessera_ms": null})"), 1.75);
}

TEST(EngineReport, IsEmptyWhereTheEngineToldNothing) {
  for (const char *text : {"", "{", "[1]", "{}", R"({"beauty_ms": "2"})", R"({"tessera_ms": 3})"})
    EXPECT_EQ(EngineMilliseconds(text), std::nullopt) << text;
}

}  // namespace
