// The accounting allocator, and the operators that take a class's objects from it.
#pragma once

#include "primitives/memory/Memory.h"
#include "primitives/memory/Pooled.h"
