// Dump files where the system refuses: a folder that takes none, a disk that is full, a name that is too long for it.
#include <fcntl.h>
#include <malloc.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <csignal>

#include "fixtures/frames/dump_folder.h"
#include "frames/dump/dump_files.h"
#include "frames/dump/image_dumper.h"

namespace {

std::atomic<int> folders_asked_for{0};

}  // namespace

// Wins over the C library's own, in other libraries too.
extern "C" [[gnu::visibility("default")]] int mkdir(const char *path, mode_t mode) noexcept {
  ++folders_asked_for;
  return static_cast<int>(syscall(SYS_mkdirat, AT_FDCWD, path, mode));
}

namespace vanta {
namespace {

using namespace vanta_test;

using DumpFailures = DumpFolder;

constexpr char kNobodysFolder[] = "/proc/self";  // not even the superuser makes a file here
constexpr char kFullDisk[] = "/dev/full";

// Files of this process end after so many bytes, as on a disk that is full by then.
class FileLimit {
 public:
  explicit FileLimit(rlim_t bytes) {
    getrlimit(RLIMIT_FSIZE, &before_);
    former_handler_ = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{bytes, before_.rlim_max};
    EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
  }
  ~FileLimit() {
    setrlimit(RLIMIT_FSIZE, &before_);
    std::signal(SIGXFSZ, former_handler_);
  }
  FileLimit(const FileLimit &) = delete;
  FileLimit &operator=(const FileLimit &) = delete;

 private:
  rlimit before_{};
  void (*former_handler_)(int) = nullptr;
};

TEST_F(DumpFailures, FolderThatTakesNoFilesMakesSaveFail) {
  const Bytes pixels = Ramp(64);
  const uint8_t *planes[] = {pixels.data(), pixels.data(), pixels.data()};
  const uint32_t strides[] = {4, 2, 2};
  ImageDumper dumper;
  dumper.SetDirectory(kNobodysFolder);
  for (const uint32_t mode : {ImageDumper::kBmp, ImageDumper::kYuv}) {
    dumper.mode = mode;
    dumper.CaptureI420(planes, strides, 4, 4);
    EXPECT_FALSE(dumper.Save("a"));
    EXPECT_FALSE(dumper.SaveIndexed("a", 0));
  }
}

TEST_F(DumpFailures, FolderThatTakesNoFilesIsToldByTheStreamWriters) {
  const Bytes pixels = Ramp(16);
  testing::internal::CaptureStderr();
  WriteBmp24(std::string(kNobodysFolder) + "/a.bmp", pixels.data(), 2, 2, 3);
  WriteBmpV4(std::string(kNobodysFolder) + "/a.bmp", pixels.data(), 2, 2);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "无法创建文件\n无法创建文件\n");
}

TEST_F(DumpFailures, FullDiskIsNotTold) {
  const Bytes pixels = Ramp(64);
  const uint32_t strides[] = {4, 2, 2};
  testing::internal::CaptureStderr();
  EXPECT_TRUE(WriteBmp32(pixels.data(), 4, 4, Wide(kFullDisk)));
  EXPECT_TRUE(WriteYuv(pixels.data(), strides, 4, Wide(kFullDisk)));
  WriteBmp24(kFullDisk, pixels.data(), 4, 4, 3);
  WriteBmpV4(kFullDisk, pixels.data(), 4, 4);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(DumpFailures, DiskThatFillsUpLeavesTheBeginningOfTheFile) {
  const Bytes pixels = Ramp(64 * 64 * 4);
  const uint32_t strides[] = {64, 32, 32};
  {
    const FileLimit limit(1000);
    EXPECT_TRUE(WriteBmp32(pixels.data(), 64, 64, Wide(root_ / "a.bmp")));
    EXPECT_TRUE(WriteYuv(pixels.data(), strides, 64, Wide(root_ / "a.yuv")));
    WriteBmp24(Utf8(root_ / "b.bmp"), pixels.data(), 64, 64, 3);
    WriteBmpV4(Utf8(root_ / "c.bmp"), pixels.data(), 64, 64);
  }
  for (const char *name : {"a.bmp", "a.yuv", "b.bmp", "c.bmp"}) EXPECT_EQ(Content(root_ / name).size(), 1000u) << name;
  EXPECT_EQ(Content(root_ / "a.yuv"), Bytes(pixels.begin(), pixels.begin() + 1000));
}

// 120 units of this script are 360 bytes, more than a file's name may have here.
TEST_F(DumpFailures, NameThatIsTooLongInBytesMakesSaveFail) {
  const Bytes pixels = Ramp(16);
  ImageDumper dumper;
  dumper.SetDirectory(Utf8(root_));
  dumper.mode = ImageDumper::kBmp;
  dumper.CaptureRGBA(pixels.data(), 2, 2);
  std::string name;
  for (int i = 0; i < 120; ++i) name += "\u753b";
  EXPECT_FALSE(dumper.Save(name));
  EXPECT_TRUE(std::filesystem::is_empty(root_));
}

TEST_F(DumpFailures, FolderThatIsThereIsNotMadeAgain) {
  ImageDumper dumper;
  const int before = folders_asked_for;
  dumper.SetDirectory(Utf8(root_ / "new"));
  EXPECT_EQ(folders_asked_for, before + 1);
  dumper.SetDirectory(Utf8(root_ / "new"));
  EXPECT_EQ(folders_asked_for, before + 1);
}

// Of three rows of 1001, and half as many of 500 and of 501 bytes, the last two bytes of the buffer are not written.
TEST(ImageDumper, GrownBufferIsZeroedAndDropsTheOldContent) {
  mallopt(M_PERTURB, 0x5A);  // fresh memory of more than a kilobyte is not zero by chance
  const Bytes pixels(1001 * 3, 7);
  const uint8_t *planes[] = {pixels.data(), pixels.data(), pixels.data()};
  const uint32_t strides[] = {1001, 500, 501};
  ImageDumper dumper;
  dumper.mode = ImageDumper::kBmp;
  dumper.CaptureRGBA(pixels.data(), 4, 4);
  dumper.mode = ImageDumper::kYuv;
  dumper.CaptureI420(planes, strides, 1001, 3);
  mallopt(M_PERTURB, 0);
  ASSERT_EQ(dumper.buffer_size, (1001u + 501u) * 3u);
  const Bytes kept(dumper.buffer.get(), dumper.buffer.get() + dumper.buffer_size);
  EXPECT_EQ(kept, Bytes(1001 * 3 + 500 * 3 / 2 + 501 * 3 / 2, 7) + Bytes(2, 0));
}

}  // namespace
}  // namespace vanta
