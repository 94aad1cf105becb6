#pragma once

namespace tessera::host {

// Takes the places of standard input, output and error that the caller of the program left empty, so that no file of
// the program's lands there. Reading and writing fail there.
void HoldStandardStreams();

// Whether all that the program has written to standard output got there.
bool IsOutputWritten();

}  // namespace tessera::host
