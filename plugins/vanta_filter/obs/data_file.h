// What of the module's data folder may be handed to libobs, which reads a file whole, takes a folder for one without an
// end, and waits for a pipe's writer.
#pragma once

namespace vanta {

// False where something else than a regular file stands under that path, or one longer than 16 MiB. A path where
// nothing stands is libobs's to tell of. `path` in UTF-8.
bool MayBeRead(const char *path);

}  // namespace vanta
