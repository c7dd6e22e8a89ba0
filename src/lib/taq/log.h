// All that a service needs to log: Log, message sites and messages by name, the words for results and object
// types.
#pragma once

#include "i18n/common/i18n_id.h"
#include "primitives/ldf/QENObjTags.h"
#include "primitives/log/CatalogMessage.h"
#include "primitives/log/FFDCRole.h"
#include "primitives/log/Log.h"
#include "primitives/log/LogResult.h"
#include "primitives/log/MessageSite.h"
