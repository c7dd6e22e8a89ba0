// The cache of a log's latest application messages.
#include <memory>

#include "primitives/log/Log.h"
#include "primitives/log/LogMessage.h"
#include "primitives/log/LogText.h"
#include "primitives/message/MsgStruct.h"
#include "primitives/message/ipm_messages.h"
#include "primitives/utils/msg_log_add.h"
#include "primitives/values/VList.h"

void Log::set_cache_disabled() {
    const LogLock::Guard inside(_lock);
    _cache_enabled = false;
    reset_cache();
}

void Log::reset_cache() {
    const LogLock::Guard inside(_lock);
    for (int left = LOG_CACHE_MAX; left > 0 && _cache_vlistp->head() != nullptr; --left)
        delete _cache_vlistp->head();
}

// args_id: the element of the message that holds its arguments.
void Log::_cache_add(LogMessage& m, int16_t args_id) {
    const std::string text(m.text);
    MsgStruct* entry = mk_ucast_msg(MSG_LOG_ADD, /*sender=*/0);
    QENVaList no_args;
    mk_vararg_msg_log_add(entry, /*logflags=*/0, m.logical_sev, m.obj_tag, static_cast<int>(m.time),
                          static_cast<int>(m.catalog()), static_cast<int>(m.number()), text.c_str(), no_args);
    MsgStruct* const structp = m.structure();
    const MsgHdr_t* given = structp->gethdr();
    if (m.type == MSG_LOG_ADD && given->getFlagsBits(MSGHDR_CATALOG_ID) == 0)
        entry->gethdr()->clearFlagsBits(MSGHDR_CATALOG_ID);
    else
        entry->gethdr()->setFlagsBits(MSGHDR_CATALOG_ID);
    const std::unique_ptr<VList> args(structp->get_vlist(args_id));
    if (args != nullptr) entry->append_elem(args_id, args.get());

    while (_cache_vlistp->count() >= LOG_CACHE_MAX) delete _cache_vlistp->head();
    _cache_vlistp->append(entry, /*ref=*/0);
    notify_add(entry);
}
