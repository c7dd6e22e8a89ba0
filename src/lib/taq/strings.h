// Bounded string functions, a string buffer, and the words of options.
#pragma once

#include "primitives/strings/QENStrBuffer.h"
#include "primitives/strings/QENString.h"
#include "primitives/strings/argvalue.h"
