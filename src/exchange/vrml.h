// What the two VRML writers have in common.
#pragma once

#include <string_view>

#include "exchange/text_output.h"
#include "geometry/element.h"

namespace tessera {

// The two versions of the format.
enum class Vrml { One = 1, Two = 2 };

// The three lines of text that stand between a literal, three numbers with six decimals, and another literal.
void PutNumbers(TextOutput& out, std::string_view before, const Vec3& v, std::string_view behind);
void PutColor(TextOutput& out, std::string_view before, const Color& color);
// A point in the world, in thousandths of the scene's unit.
void PutPoint(TextOutput& out, std::string_view before, const Vec3& local, const CMatrix& matrix);

}  // namespace tessera
