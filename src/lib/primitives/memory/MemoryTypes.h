// What an allocation is for: the statistics of the allocator (Memory.h) count each type by itself.
#pragma once

inline namespace taq_1 {

// Memory types in the order of their codes, which start at 0: MEM_ and the name that the statistics show.
// clang-format off
#define QEN_MEMORY_TYPES(X)                                                                                  \
    X(ARC) X(BUSINESS_OBJECT) X(CELEM) X(CLIST) X(CLUSTER) X(DEPENDENCY) X(DLIST) X(DLINK) X(EXPR) X(FFDC)   \
    X(HASH) X(INTHASH) X(IPM_COMM_HANDLER) X(IPM_COMM_SERVER) X(IPM_COMM_THREAD) X(IPM_FDSET) X(IPMHANDLE)   \
    X(IPMSERVER) X(LDF_READER) X(LDF_WRITER) X(LOG) X(MISC) X(MSGELEM) X(MSGELEMLIST) X(MSGSTRUCT)           \
    X(NET_CTRL_MSG) X(NET_QUEUE_MSG) X(NET_TRAFFIC_MSG) X(NODE) X(NVELEM) X(NVLIST) X(PLAT_COL)              \
    X(PLAT_COL_ENTRY) X(REGDB) X(REGREF) X(SELEM) X(SERVICE_GROUP) X(SLIST) X(SUBTASK) X(SWITCHOUT) X(TAB)   \
    X(TASK) X(TOKEN) X(UBOOBSERVER) X(VALUEELEM) X(VALUEARRAY) X(VATTR_DESC_T) X(VATTR_ELEM) X(VATTR_ITER)   \
    X(VATTR_LIST) X(VATTR_TABLE) X(VATTR_VALIDATE) X(VATTR_VALUE) X(VATTR_VALUE_SCOPED_T) X(VATTR_VALUE_T)   \
    X(TAQMSGSTRUCT) X(TAQOPERATION) X(QENVARIABLE) X(QENVARIABLEFACTORY) X(QENVARTOKENIZE)                   \
    X(QENVARSTRTOKENIZE) X(VELEM) X(VIEW) X(COMPOSITE_SERVICE) X(VIRTUAL_MACHINE) X(VLIST) X(VTYPE)
// clang-format on

enum mem_type : int {
#define QEN_MEMORY_TYPE(name) MEM_##name,
    QEN_MEMORY_TYPES(QEN_MEMORY_TYPE)
#undef QEN_MEMORY_TYPE
        MEMORY_MAX_TYPES
};
static_assert(MEMORY_MAX_TYPES == 67 && MEM_MISC == 21 && MEM_VTYPE == 66);

} // namespace taq_1
