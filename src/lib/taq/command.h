// The pair of logs on which a command prints.
#pragma once

#include "commoncmd/commoncmd.h"
