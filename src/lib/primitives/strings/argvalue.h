// The words of the product's command-line options and their lookup, which accepts abbreviations.
#pragma once

inline namespace taq_1 {

// Words in the order of their codes, which start at 0.
#define QEN_ARGUMENT_WORDS(X)                                                                                \
    X(ARG_ACK, "-ack")                                                                                       \
    X(ARG_ADD, "-add")                                                                                       \
    X(ARG_ADDR, "-addr")                                                                                     \
    X(ARG_ADDTAGS, "-addtags")                                                                               \
    X(ARG_ALIVE, "-alive")                                                                                   \
    X(ARG_ALL, "-all")                                                                                       \
    X(ARG_ANY, "-any")                                                                                       \
    X(ARG_ASSOC, "-assoc")                                                                                   \
    X(ARG_AUTHORITY, "-authority")                                                                           \
    X(ARG_CATEGORY, "-category")                                                                             \
    X(ARG_CLEAR, "-clear")                                                                                   \
    X(ARG_CLUSTER_REACHABILITY_QUERY, "-cluster-reachability-query")                                         \
    X(ARG_CLUSTER_REACHABILITY_RESPONSE, "-cluster-reachability-response")                                   \
    X(ARG_CONTROLLER_HB, "-controller-hb")                                                                   \
    X(ARG_CONTROLLER_NOTIFICATION, "-controller-notification")                                               \
    X(ARG_CONTROLLER_NOTIFICATION_RESPONSE, "-controller-notification-response")                             \
    X(ARG_CONTROLLER_QUERY, "-controller-query")                                                             \
    X(ARG_CONTROLLER_RESPONSE, "-controller-response")                                                       \
    X(ARG_CONFIGURATOR, "-configurator")                                                                     \
    X(ARG_DBG, "-dbg")                                                                                       \
    X(ARG_DELTAGS, "-deltags")                                                                               \
    X(ARG_DEP, "-dep")                                                                                       \
    X(ARG_DETAILS, "-details")                                                                               \
    X(ARG_DISABLE, "-disable")                                                                               \
    X(ARG_DISPLAY, "-display")                                                                               \
    X(ARG_DONOT_REDIRECT, "-donot-redirect")                                                                 \
    X(ARG_DONOT_USE_VIP, "-donot-use-vip")                                                                   \
    X(ARG_DUMP, "-dump")                                                                                     \
    X(ARG_ENABLE, "-enable")                                                                                 \
    X(ARG_ENCODING, "-encoding")                                                                             \
    X(ARG_EXECUTE_CHILD_ACTION, "-execute-child-action")                                                     \
    X(ARG_FLUSH, "-flush")                                                                                   \
    X(ARG_FORCE, "-force")                                                                                   \
    X(ARG_FOREGROUND, "-foreground")                                                                         \
    X(ARG_GLOBALCLUS, "-globalclus")                                                                         \
    X(ARG_GLOBALSGSTATE, "-globalsgstate")                                                                   \
    X(ARG_GLOBALSGSTATE_ACK, "-globalsgstate-ack")                                                           \
    X(ARG_GRPDEP, "-grpdep")                                                                                 \
    X(ARG_GRPSTATE, "-grpstate")                                                                             \
    X(ARG_GUI, "-gui")                                                                                       \
    X(ARG_HELP, "-help")                                                                                     \
    X(ARG_IGNORE, "-ignore")                                                                                 \
    X(ARG_IGNORE_SHARED, "-ignore-shared")                                                                   \
    X(ARG_INFO, "-info")                                                                                     \
    X(ARG_INSTALL, "-install")                                                                               \
    X(ARG_INTEGER, "-integer")                                                                               \
    X(ARG_IPADDRS, "-ipaddrs")                                                                               \
    X(ARG_JSON, "-json")                                                                                     \
    X(ARG_KEYLIST, "-keylist")                                                                               \
    X(ARG_LANG, "-lang")                                                                                     \
    X(ARG_LIST, "-list")                                                                                     \
    X(ARG_LISTAPP, "-listapp")                                                                               \
    X(ARG_MSGID, "-msgid")                                                                                   \
    X(ARG_NOPROMPT, "-noprompt")                                                                             \
    X(ARG_NOTIFY_CONFIG_UPDATE, "-notify-config-update")                                                     \
    X(ARG_OFFLINE, "-offline")                                                                               \
    X(ARG_ONAME, "-oname")                                                                                   \
    X(ARG_ONLINE, "-online")                                                                                 \
    X(ARG_OTYPE, "-otype")                                                                                   \
    X(ARG_PARAMETERS, "-parameters")                                                                         \
    X(ARG_PATH, "-path")                                                                                     \
    X(ARG_PING, "-ping")                                                                                     \
    X(ARG_PORT, "-port")                                                                                     \
    X(ARG_PROGRESS, "-progress")                                                                             \
    X(ARG_PROPAGATE, "-propagate")                                                                           \
    X(ARG_REJECT_SUBTASKS, "-reject-subtasks")                                                               \
    X(ARG_REQUEST_SNAPSHOT, "-request-snapshot")                                                             \
    X(ARG_REQUEST_STATE_UPDATE, "-request-state-update")                                                     \
    X(ARG_RUN_AS_SERVICE, "-run-as-service")                                                                 \
    X(ARG_SCALAR, "-scalar")                                                                                 \
    X(ARG_SEND, "-send")                                                                                     \
    X(ARG_SEV, "-sev")                                                                                       \
    X(ARG_SHOWPLAN, "-showplan")                                                                             \
    X(ARG_SHOWSLA, "-showsla")                                                                               \
    X(ARG_SNAPSHOT, "-snapshot")                                                                             \
    X(ARG_SNAPSHOT_ACK, "-snapshot-ack")                                                                     \
    X(ARG_START, "-start")                                                                                   \
    X(ARG_STATE, "-state")                                                                                   \
    X(ARG_STOP, "-stop")                                                                                     \
    X(ARG_STRING, "-string")                                                                                 \
    X(ARG_SUBTASKS, "-subtasks")                                                                             \
    X(ARG_SWITCH, "-switch")                                                                                 \
    X(ARG_TAG, "-tag")                                                                                       \
    X(ARG_TAIL, "-tail")                                                                                     \
    X(ARG_TAKEOVER, "-takeover")                                                                             \
    X(ARG_TRACE, "-trace")                                                                                   \
    X(ARG_UNINSTALL, "-uninstall")                                                                           \
    X(ARG_UPDATE, "-update")                                                                                 \
    X(ARG_UPDATE_SUBTASKS, "-update-subtasks")                                                               \
    X(ARG_VALUE, "-value")                                                                                   \
    X(ARG_TAQ, "-taq")                                                                                       \
    X(ARG_VECTOR, "-vector")                                                                                 \
    X(ARG_VERIFY, "-verify")                                                                                 \
    X(ARG_VERSION, "-version")                                                                               \
    X(ARG_VMINFO, "-vminfo")                                                                                 \
    X(ARG_VMSTATE, "-vmstate")                                                                               \
    X(ARG_WAIT, "-wait")

enum argvalue_t : int {
#define QEN_ARGUMENT_CODE(code, word) code,
    QEN_ARGUMENT_WORDS(QEN_ARGUMENT_CODE)
#undef QEN_ARGUMENT_CODE
        ARG_ERROR // unknown or ambiguous
};
static_assert(ARG_ACK == 0 && ARG_WAIT == 96 && ARG_ERROR == 97);

// The code of an option word, given in full or as a prefix that only one word has; ARG_ERROR otherwise and
// for null.
argvalue_t argvalue(const char* word);

const char* argname(int value); // the word, or "unknown argument" for a value without one

int is_blank(const char* s); // 1: nothing but spaces, or null; else 0

} // namespace taq_1
