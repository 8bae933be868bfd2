#include "platform/font_files.h"

namespace lumivex {

// Where Debian's packages fonts-dejavu-core, fonts-noto-cjk and fonts-wqy-microhei put theirs.
std::vector<std::filesystem::path> FontFiles() {
  return {"/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf", "/usr/share/fonts/opentype/noto/NotoSansCJK-Regular.ttc",
          "/usr/share/fonts/truetype/wqy/wqy-microhei.ttc"};
}

}  // namespace lumivex
