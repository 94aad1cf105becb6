// Measures, capped sections and levels of detail.
#pragma once

#include "bench.h"

void Measure(const bench::Job& job);
void View(const bench::Job& job);
