// Faults that a user is told of at once.
#pragma once

namespace tessera {

// A message box with the caption "Error" on Windows, a line on stderr elsewhere. The text is UTF-8.
void ShowError(const char* text) noexcept;

}  // namespace tessera
