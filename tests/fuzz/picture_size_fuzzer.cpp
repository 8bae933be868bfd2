// The head of a picture file from anywhere: the size is read without a step past its end, and is no negative number.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "files/picture_size.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const auto read = lumivex::ReadPictureSize({data, size});
  if (read && (read->width < 0 || read->height < 0)) std::abort();
  return 0;
}
