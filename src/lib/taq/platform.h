// Files, environment, system log, threads and checks, as the library itself uses them.
#pragma once

#include "platform/unix/QENAssert.h"
#include "platform/unix/QENPlatform.h"
#include "platform/unix/QENThread.h"
