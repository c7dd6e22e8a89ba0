// The cache of a log: see LogCache.h. A message comes here after it was classified, before its line is
// written.
#include "primitives/log/LogCache.h"

#include "primitives/log/LogMessage.h"
#include "primitives/message/MsgStruct.h"
#include "primitives/message/ipm_messages.h"
#include "primitives/utils/msg_log_add.h"

inline namespace taq_1 {

void LogCache::disable() {
    _is_enabled = false;
    reset();
}

void LogCache::reset() {
    for (int left = LOG_CACHE_MAX; left > 0 && _cache_vlistp->head() != nullptr; --left)
        delete _cache_vlistp->head();
}

MsgStruct* LogCache::add(LogMessage& m) {
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
    const std::unique_ptr<VList> args(structp->get_vlist(m.cache_args_id));
    if (args != nullptr) entry->append_elem(m.cache_args_id, args.get());

    while (_cache_vlistp->count() >= LOG_CACHE_MAX) delete _cache_vlistp->head();
    _cache_vlistp->append(entry, /*ref=*/0);
    return entry;
}

} // namespace taq_1
