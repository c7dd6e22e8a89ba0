// Buffers of a connection.
#pragma once

#include "network/NetBuffer.h"
