// Everything that a host of Tessera includes.
#pragma once

#include "idecimator.h"
#include "igraphic_collector.h"
#include "itessera.h"
#include "platform.h"
#include "u3d_view.h"
