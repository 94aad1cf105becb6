// Files on the common work.
#pragma once

#include "bench.h"

void Write(const bench::Job& job);
