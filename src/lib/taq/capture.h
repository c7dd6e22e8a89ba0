// First-failure capture by itself; services reach it through Log (log.h).
#pragma once

#include "primitives/log/FFDC.h"
