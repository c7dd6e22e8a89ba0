// Message catalogs: texts in the reader's language.
#pragma once

#include "i18n/common/i18n.h"
