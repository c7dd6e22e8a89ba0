// Log data files: LdfReader, LdfWriter, their format and the words for their results.
#pragma once

#include "primitives/ldf/LdfReader.h"
#include "primitives/ldf/LdfWriter.h"
#include "primitives/ldf/QENObjTags.h"
#include "primitives/ldf/ResultText.h"
#include "primitives/ldf/ldf_format.h"
