// Picks and sections on the common work.
#pragma once

#include "bench.h"

void Pick(const bench::Job& job);
void Cut(const bench::Job& job);
