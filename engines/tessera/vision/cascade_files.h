// Where the cascades of OpenCV lie.
#pragma once

#include <string>
#include <vector>

namespace tessera {

inline constexpr const char *kFaceCascade = "haarcascade_frontalface_alt2.xml";
inline constexpr const char *kEyeCascade = "haarcascade_eye.xml";
inline constexpr const char *kQuickCascade = "lbpcascade_frontalface.xml";

// InstalledCascadeFolder, or the one that the environment variable TESSERA_CASCADES names instead. Paths here and below
// are in UTF-8 on Windows.
std::string CascadePackageFolder();

// The first file of that name among the model files themselves, in the model folder, beside the model files. Empty when
// there is none.
std::string FindModelFile(const std::string &name, const std::string &model_folder,
                          const std::vector<std::string> &model_files);

// The first file of that name: among the model files themselves, in the model folder, beside the model files, in the
// folder above, in the folder `lbpcascades` beside that. Empty when there is none.
std::string FindCascade(const std::string &name, const std::string &model_folder,
                        const std::vector<std::string> &model_files);

}  // namespace tessera
