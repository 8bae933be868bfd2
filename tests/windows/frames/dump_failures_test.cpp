// Dump files where Windows refuses them.
#include <windows.h>

#include "fixtures/frames/dump_folder.h"
#include "frames/dump/dump_files.h"
#include "frames/dump/image_dumper.h"

namespace vanta {
namespace {

using namespace vanta_test;

using DumpFailures = DumpFolder;

ImageDumper DumperWithPicture(const std::filesystem::path &folder) {
  const Bytes pixels = Ramp(16);
  ImageDumper dumper;
  dumper.SetDirectory(Utf8(folder));
  dumper.mode = ImageDumper::kBmp;
  dumper.CaptureRGBA(pixels.data(), 2, 2);
  return dumper;
}

// Wine shows the Linux machine's files as drive Z: among them a folder in which nobody makes files.
TEST_F(DumpFailures, FolderThatTakesNoFilesMakesSaveFail) {
  EXPECT_FALSE(DumperWithPicture("Z:\\proc\\self").Save("a"));
}

TEST_F(DumpFailures, FileThatAnotherHoldsForItselfMakesSaveFail) {
  const ImageDumper dumper = DumperWithPicture(root_);
  const HANDLE held = CreateFileW((root_ / "a.bmp").wstring().c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                  FILE_ATTRIBUTE_NORMAL, nullptr);
  ASSERT_NE(held, INVALID_HANDLE_VALUE);
  EXPECT_FALSE(dumper.Save("a"));
  CloseHandle(held);
  EXPECT_TRUE(dumper.Save("a"));
}

TEST_F(DumpFailures, NameThatWindowsForbidsMakesSaveFail) {
  EXPECT_FALSE(DumperWithPicture(root_).Save("a?b"));
}

// Of the same drive, the disk that is always full.
TEST_F(DumpFailures, FullDiskIsNotTold) {
  const Bytes pixels = Ramp(64);
  const uint32_t strides[] = {4, 2, 2};
  testing::internal::CaptureStderr();
  EXPECT_TRUE(WriteBmp32(pixels.data(), 4, 4, u"Z:\\dev\\full"));
  EXPECT_TRUE(WriteYuv(pixels.data(), strides, 4, u"Z:\\dev\\full"));
  WriteBmp24("Z:\\dev\\full", pixels.data(), 4, 4, 3);
  WriteBmpV4("Z:\\dev\\full", pixels.data(), 4, 4);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(DumpFailures, LongNameOfAnotherScriptIsWritten) {
  std::string name;
  for (int i = 0; i < 80; ++i) name += "\u753b";  // Wine keeps names as UTF-8, of at most 255 bytes
  ASSERT_TRUE(DumperWithPicture(root_).Save(name));
  EXPECT_EQ(Content(root_ / Path(name + ".bmp")).size(), 70u);
}

}  // namespace
}  // namespace vanta
