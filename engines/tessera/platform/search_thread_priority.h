// How the system runs the calling thread, and what it has taken.
#pragma once

namespace tessera {

// Behind threads that draw or encode, yet with a share of a processor when all are busy: a thread that got only idle
// time would find no face then, and could not be joined.
void LowerPriorityOfThisThread();

// Processor time of the calling thread, milliseconds.
double ProcessorMillisecondsOfThisThread();

}  // namespace tessera
