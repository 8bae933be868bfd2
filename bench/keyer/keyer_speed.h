// What a rendered frame costs with the green screen, against libobs's stock chroma key.
#pragma once

namespace keyer_bench {

// Prints the table; libobs runs, with the stock filters. The exit status: 1 where a bar is missed.
int MeasureSpeed(int argc, char **argv);

}  // namespace keyer_bench
