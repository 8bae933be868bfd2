#include "platform/data_folder.h"

namespace lumivex {

std::string DataFolder(const std::string &given) {
  return given;
}

}  // namespace lumivex
