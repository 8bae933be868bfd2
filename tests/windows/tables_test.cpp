// The module's dependencies are lists that somebody wrote down: a new one is a decision.
#include <fstream>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "pe_tables.h"

using Names = std::set<std::string>;

namespace {

// One name a line; what follows a number sign is a comment.
void ReadNames(const std::string &file, Names &names) {
  std::ifstream stream(file);
  ASSERT_TRUE(stream) << file;
  for (std::string line; std::getline(stream, line);) {
    line.erase(std::min(line.find('#'), line.size()));
    const size_t end = line.find_last_not_of(" \t\r");
    if (end != std::string::npos) names.insert(line.substr(0, end + 1));
  }
}

class Tables : public testing::Test {
 protected:
  const vanta_test::PeTables tables_ = vanta_test::ReadTables(VANTA_TEST_MODULE_FILE);
  Names expected_;
};

TEST_F(Tables, ExportsAreTheElevenNamesAndNoOther) {
  ReadNames(VANTA_TEST_TABLES_FOLDER "/exports.txt", expected_);
  EXPECT_EQ(expected_.size(), 11u);
  EXPECT_EQ(tables_.exports, expected_);
}

TEST_F(Tables, ImportsFromTheHostAreTheListedOnes) {
  ReadNames(VANTA_TEST_IMPORTS_FOLDER "/obs.def", expected_);
  ReadNames(VANTA_TEST_IMPORTS_FOLDER "/obs.itanium.def", expected_);
  EXPECT_EQ(tables_.imports.at("obs.dll"), expected_);
}

TEST_F(Tables, ImportsFromTheEngineAreTheListedOnes) {
  ReadNames(VANTA_TEST_IMPORTS_FOLDER "/Lumivex.itanium.def", expected_);
  EXPECT_EQ(tables_.imports.at("lumivex.dll"), expected_);
}

TEST_F(Tables, ImportsFromTheRunnerAreTheListedOnes) {
  ReadNames(VANTA_TEST_IMPORTS_FOLDER "/tessera.itanium.def", expected_);
  EXPECT_EQ(tables_.imports.at("tessera.dll"), expected_);
}

TEST_F(Tables, OtherDllsAreTheSystemsOwn) {
  ReadNames(VANTA_TEST_TABLES_FOLDER "/system_dlls.txt", expected_);
  Names others;
  for (const auto &[dll, functions] : tables_.imports)
    if (dll != "obs.dll" && dll != "lumivex.dll" && dll != "tessera.dll") others.insert(dll);
  EXPECT_EQ(others, expected_);
}

}  // namespace
