// Files that end early, pause or are MPEG streams, and the media source of libobs that plays them.
#pragma once

namespace vanta_run {

// A picture that stands for longer is given again, so often. Seconds.
constexpr double kLongestStay = 0.5;

// The source goes back to the file's start once it has looked at its streams. In a file that was cut off that fails
// where no picture stands at the very start: the index is missing. It then goes on as at the end of the file, and where
// it has decoded no sound by then it reads through a null pointer. So two functions of FFmpeg that it calls are
// replaced for its threads: a search that fails is made again in the other direction, and a decoder that has given
// nothing says "no more yet" instead of "no more", which leads the source past that pointer.
// In a MPEG stream that search leads past the first key picture, and with it all pictures up to the next one would be
// left out; there the file is read from its first byte.
// A picture whose time is more than two seconds ahead of the sound's is shown at once, and without sound a pause of
// more than three is left out. So what stands for long, as slides and recorded screens do, is given again meanwhile.
// Linked into a program that exports its symbols; calling this makes sure that it is.
void GuardMedia();

// The caller is such a source's thread.
bool OnMediaThread();

}  // namespace vanta_run
