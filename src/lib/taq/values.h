// Lists, hash tables and the values that they hold.
#pragma once

#include "primitives/values/BusinessObject.h"
#include "primitives/values/CList.h"
#include "primitives/values/DList.h"
#include "primitives/values/HashTable.h"
#include "primitives/values/IntHashTable.h"
#include "primitives/values/NVList.h"
#include "primitives/values/VList.h"
#include "primitives/values/ValueArray.h"
