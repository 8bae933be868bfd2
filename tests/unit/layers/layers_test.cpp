// The house as ARCHITECTURE.md draws it, held against every #include: rooms use only what lies below them, nobody sees
// another target's private headers, and platforms are told apart in platform/ alone.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

namespace fs = std::filesystem;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;

// From the bottom up. A room may include itself and what stands on a lower line.
using Layers = std::vector<std::set<std::string>>;

struct Target {
  std::string folder;                // below the root, with its slash at the end
  Layers layers;                     // of its rooms, the folders' first level
  std::vector<std::string> visible;  // include folders of others that it may use, with their slashes
};

const std::string kBase = "base/include/";
const std::string kContracts = "plugins/vanta_filter/include/";
const std::string kKeyingHeaders = "host/keying/include/";
const std::string kOperations = "host/operations/include/";
const std::string kHostHeader = "host/vanta_host/include/";
const std::string kEngineHeaders = "engines/lumivex/include/";
const std::string kRunnerHeaders = "engines/tessera/include/";

const std::vector<Target> &House() {
  static const std::vector<Target> house = {
      {"base/", {{"include"}, {"platform"}}, {}},
      {"plugins/vanta_filter/",
       {{"include"},
        {"platform"},
        {"obs"},
        {"face_points", "stats"},
        {"frames"},
        {"engine"},
        {"beauty", "greenscreen", "landmark"},
        {"module"}},
       {kBase}},
      {"host/keying/", {{"include"}}, {}},
      {"host/operations/", {{"include"}}, {kBase, kContracts, kEngineHeaders}},
      {"host/vanta_host/",
       {{"include"},
        {"textures"},
        {"platform"},
        {"reports"},
        {"module"},
        {"controls"},
        {"pages"},
        {"remote"},
        {"registration"},
        {"supervision"}},
       {kBase, kContracts, kKeyingHeaders, kOperations, kEngineHeaders}},
      {"engines/tessera/",
       {{"include"},
        {"platform"},
        {"vision"},
        {"results"},
        {"features"},
        {"shape"},
        {"following", "networks"},
        {"search"},
        {"runner"}},
       {kBase, kContracts}},
      {"engines/lumivex/",
       {{"include", "platform"},
        {"files", "pixels"},
        {"faces"},
        {"color", "makeup", "skin", "warp"},
        {"settings"},
        {"gpu", "magic"},
        {"core"}},
       {kBase, kContracts, kHostHeader, kRunnerHeaders}},
      {"host/vanta_run/",
       {{"common"},
        {"clock"},
        {"capture", "commands", "faces", "input", "monitor"},
        {"output"},
        {"plot"},
        {"session"},
        {"cli"}},
       {kBase, kContracts, kKeyingHeaders, kOperations, kHostHeader, kEngineHeaders}},
      {"docs/examples/", {}, {kBase, kContracts, kHostHeader, kEngineHeaders}},
  };
  return house;
}

bool IsSource(const fs::path &path) {
  const std::string ending = path.extension().string();
  return ending == ".h" || ending == ".cpp" || ending == ".c";
}

// The place of `room` from the bottom; none for a room that no layer names.
std::optional<size_t> Height(const Layers &layers, const std::string &room) {
  for (size_t i = 0; i < layers.size(); ++i) {
    if (layers[i].count(room)) return i;
  }
  return std::nullopt;
}

std::string FirstFolder(const std::string &path) {
  const size_t slash = path.find('/');
  return slash == std::string::npos ? std::string() : path.substr(0, slash);
}

// What the sources below `root` do against the house, a line each.
class Inspection {
 public:
  explicit Inspection(fs::path root) : root_(std::move(root)) {
    for (const Target &target : House()) {
      const fs::path folder = root_ / target.folder;
      if (!fs::is_directory(folder)) continue;
      for (const auto &entry : fs::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file() && IsSource(entry.path())) LookAt(target, entry.path());
      }
    }
  }

  size_t files() const { return files_; }
  const std::vector<std::string> &faults() const { return faults_; }

 private:
  void LookAt(const Target &target, const fs::path &path) {
    ++files_;
    const std::string name = fs::relative(path, root_).generic_string();
    const std::string room = FirstFolder(name.substr(target.folder.size()));
    if (!target.layers.empty() && !room.empty() && !Height(target.layers, room)) {
      faults_.push_back(name + ": no layer names the room " + room);
    }
    static const std::regex kInclude("^\\s*#\\s*include\\s*\"([^\"]+)\"");
    static const std::regex kSwitch(
        R"(^\s*#\s*(if|ifdef|ifndef|elif).*(_WIN(32|64)|__MINGW(32|64)__|_MSC_VER|__GNUC__|__clang__|__(linux|unix|APPLE)__))");
    std::ifstream file(path);
    std::smatch found;
    for (std::string line; std::getline(file, line);) {
      if (std::regex_search(line, found, kInclude)) LookAtInclude(target, name, room, found[1].str());
      if (name.find("/platform/") == std::string::npos && std::regex_search(line, found, kSwitch) && !MaySwitch(name)) {
        faults_.push_back(name + ": tells platforms or compilers apart outside platform/");
      }
    }
  }

  // How a symbol is marked for export: whoever includes these headers must see the same.
  static bool MaySwitch(const std::string &name) {
    return name.rfind(kBase, 0) == 0 || name == kHostHeader + "vanta_host.h";
  }

  void LookAtInclude(const Target &target, const std::string &name, const std::string &room,
                     const std::string &included) {
    if (fs::exists(root_ / target.folder / included)) {
      const std::optional<size_t> from = Height(target.layers, room);
      const std::string other = FirstFolder(included);
      const std::optional<size_t> to = Height(target.layers, other);
      if (from && to && room != other && *to >= *from)
        faults_.push_back(name + ": includes " + included + " against the layers");
      return;
    }
    if (fs::exists(root_ / target.folder / "include" / included)) return;
    for (const std::string &folder : target.visible) {
      if (fs::exists(root_ / folder / included)) return;
    }
    faults_.push_back(name + ": includes " + included + ", which it cannot see");
  }

  fs::path root_;
  size_t files_ = 0;
  std::vector<std::string> faults_;
};

TEST(House, EveryIncludeKeepsToTheLayersAndEveryPlatformSwitchToItsRoom) {
  const Inspection house(VANTA_TEST_SOURCES);
  EXPECT_GT(house.files(), 300u);  // it has looked at the sources
  EXPECT_THAT(house.faults(), IsEmpty());
}

// A house of one file.
class PlantedFault : public testing::Test {
 protected:
  PlantedFault() : root_(fs::path(testing::TempDir()) / "planted_fault") { fs::remove_all(root_); }
  ~PlantedFault() override { fs::remove_all(root_); }

  void Write(const std::string &name, const std::string &text) {
    fs::create_directories((root_ / name).parent_path());
    std::ofstream(root_ / name) << text;
  }
  std::vector<std::string> Faults() const { return Inspection(root_).faults(); }

 private:
  fs::path root_;
};

TEST_F(PlantedFault, ArrowUpwardIsFound) {
  Write("plugins/vanta_filter/beauty/a.h", "");
  Write("plugins/vanta_filter/engine/b.cpp", "#include \"beauty/a.h\"\n");
  EXPECT_THAT(Faults(), Contains(HasSubstr("against the layers")));
}

TEST_F(PlantedFault, ArrowBetweenRoomsOfOneLayerIsFound) {
  Write("plugins/vanta_filter/beauty/a.h", "");
  Write("plugins/vanta_filter/landmark/b.cpp", "#include \"beauty/a.h\"\n");
  EXPECT_THAT(Faults(), Contains(HasSubstr("against the layers")));
}

TEST_F(PlantedFault, ArrowDownwardIsNone) {
  Write("plugins/vanta_filter/engine/a.h", "");
  Write("plugins/vanta_filter/beauty/b.cpp", "#include \"engine/a.h\"\n");
  EXPECT_THAT(Faults(), IsEmpty());
}

TEST_F(PlantedFault, PrivateHeaderOfAnotherTargetIsFound) {
  Write("plugins/vanta_filter/engine/a.h", "");
  Write("engines/lumivex/core/b.cpp", "#include \"engine/a.h\"\n");
  EXPECT_THAT(Faults(), Contains(HasSubstr("which it cannot see")));
}

TEST_F(PlantedFault, SwitchOfPlatformsOrCompilersOutsideItsRoomIsFound) {
  for (const char *name :
       {"_WIN32", "_WIN64", "__linux__", "__unix__", "__APPLE__", "__MINGW64__", "_MSC_VER", "__GNUC__", "__clang__"}) {
    Write("plugins/vanta_filter/engine/b.cpp", std::string("#if defined(") + name + ")\n#endif\n");
    EXPECT_THAT(Faults(), Contains(HasSubstr("outside platform/"))) << name;
  }
}

TEST_F(PlantedFault, RoomThatNoLayerNamesIsFound) {
  Write("plugins/vanta_filter/attic/b.cpp", "");
  EXPECT_THAT(Faults(), Contains(HasSubstr("no layer names the room")));
}

}  // namespace
