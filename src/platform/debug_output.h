// Where the engine tells of faults that a host cannot be told of otherwise.
#pragma once

namespace tessera {

// To the debugger on Windows, to stderr elsewhere. The text is ASCII and brings its own line end.
void WriteDebugText(const char* text) noexcept;

}  // namespace tessera
