// What an installation consists of, and that a host which knows nothing of this project can use it.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

// Owns: an installation in a folder of its own.
class Install : public testing::Test {
 protected:
  Install() {
    std::string pattern = (fs::temp_directory_path() / "vanta_install_XXXXXX").string();
    if (mkdtemp(pattern.data())) prefix_ = pattern;
    done_ = std::system(("\"" VANTA_TEST_CMAKE "\" --install \"" VANTA_TEST_BINARY_DIR "\" --prefix \"" +
                         prefix_.string() + "\" > /dev/null")
                            .c_str()) == 0;
  }
  ~Install() override {
    std::error_code ignored;
    fs::remove_all(prefix_, ignored);
  }
  fs::path Libraries() const { return prefix_ / VANTA_TEST_LIBDIR; }
  fs::path Data() const { return prefix_ / "share/obs/obs-plugins/vanta_filter"; }

  static std::set<std::string> Names(const fs::path &folder) {
    std::set<std::string> names;
    for (const fs::directory_entry &entry : fs::directory_iterator(folder)) names.insert(entry.path().filename());
    return names;
  }

  fs::path prefix_;
  bool done_ = false;
};

// The lines that the plain host prints, and last "exit=STATUS".
std::vector<std::string> RunPlainHost(const fs::path &module, const fs::path &data) {
  const std::string command =
      "\"" VANTA_TEST_PLAIN_HOST "\" \"" + module.string() + "\" \"" + data.string() + "\" 2>&1";
  std::vector<std::string> lines;
  FILE *output = popen(command.c_str(), "r");
  if (!output) return lines;
  char line[4096];
  while (std::fgets(line, sizeof(line), output)) {
    lines.emplace_back(line);
    if (lines.back().back() == '\n') lines.back().pop_back();
  }
  lines.push_back("exit=" + std::to_string(pclose(output)));
  return lines;
}

std::vector<std::string> Values(const std::vector<std::string> &lines, const std::string &name) {
  std::vector<std::string> values;
  for (const std::string &line : lines)
    if (line.rfind(name + "=", 0) == 0) values.push_back(line.substr(name.size() + 1));
  return values;
}

std::string AllOf(const std::vector<std::string> &lines) {
  std::string text;
  for (const std::string &line : lines) text += line + "\n";
  return text;
}

// A host tries every library in its plug-in folder as a plug-in.
TEST_F(Install, TheHostsPluginFolderGetsThePluginAndNothingElse) {
  ASSERT_TRUE(done_);
  EXPECT_EQ(Names(Libraries() / "obs-plugins"), std::set<std::string>{"vanta_filter.so"});
}

TEST_F(Install, ThePluginsOwnLibrariesLieInAFolderNextDoor) {
  ASSERT_TRUE(done_);
  const std::set<std::string> names = Names(Libraries() / "vanta_filter");
  EXPECT_TRUE(names.count("libvanta_host.so"));
  EXPECT_TRUE(names.count("libLumivex.so"));
}

TEST_F(Install, TheDataFolderHoldsEffectLocalesAndPresets) {
  ASSERT_TRUE(done_);
  EXPECT_TRUE(fs::is_regular_file(Data() / "vanta_beauty.effect"));
  EXPECT_TRUE(fs::is_regular_file(Data() / "locale/en-US.ini"));
  EXPECT_FALSE(fs::is_empty(Data() / "faceless_builtin"));
}

TEST_F(Install, APlainLibobsProgramPlaysPicturesThroughTheFilter) {
  ASSERT_TRUE(done_);
  const std::vector<std::string> lines = RunPlainHost(Libraries() / "obs-plugins/vanta_filter.so", Data());
  SCOPED_TRACE(AllOf(lines));
  EXPECT_EQ(Values(lines, "exit"), std::vector<std::string>{"0"});
  EXPECT_EQ(Values(lines, "frames"), std::vector<std::string>{"20"});
  EXPECT_EQ(Values(lines, "leaks"), std::vector<std::string>{"0"});
  const std::vector<std::string> names = Values(lines, "display_name");
  ASSERT_EQ(names.size(), 1u);
  EXPECT_FALSE(names.front().empty());
  EXPECT_NE(names.front(), "FacebeautyFilterV2") << "the text was not found in the locale files";
}

TEST_F(Install, ThePluginFindsItsLibrariesInTheInstallation) {
  ASSERT_TRUE(done_);
  const std::vector<std::string> lines = RunPlainHost(Libraries() / "obs-plugins/vanta_filter.so", Data());
  SCOPED_TRACE(AllOf(lines));
  const std::vector<std::string> libraries = Values(lines, "library");
  EXPECT_GE(libraries.size(), 2u);
  for (const std::string &library : libraries) EXPECT_EQ(library.rfind(prefix_.string(), 0), 0u) << library;
}

}  // namespace
