// Where the product keeps its files, and the environment variables that move it: one place for all.
#pragma once

inline namespace taq_1 {

// The roots are options of the build, which define these only when they differ.
#ifndef TAQ_DEFAULT_DATA_ROOT
#define TAQ_DEFAULT_DATA_ROOT "/var/taqsvc"
#endif
#ifndef TAQ_DEFAULT_CONF_DIR
#define TAQ_DEFAULT_CONF_DIR "/etc/taqsvc"
#endif
#ifndef TAQ_DEFAULT_MESSAGES_ROOT
#define TAQ_DEFAULT_MESSAGES_ROOT "/opt/KAVO"
#endif

inline constexpr char QEN_DEFAULT_DATA_ROOT[] = TAQ_DEFAULT_DATA_ROOT; // root of "ldf/" and "log/"
inline constexpr char QEN_DEFAULT_CONF_DIR[] = TAQ_DEFAULT_CONF_DIR;   // holds taq.conf
inline constexpr char QEN_DEFAULT_MESSAGES_ROOT[] =
    TAQ_DEFAULT_MESSAGES_ROOT;                        // root of "messages/<language>/"
inline constexpr char QEN_MESSAGES_MODULE[] = "KORE"; // the system's own catalogs

inline constexpr char QEN_ENV_LDF_ROOT[] = "TAQ_LDF";
inline constexpr char QEN_ENV_LOG_ROOT[] = "TAQ_LOG";
inline constexpr char QEN_ENV_CONF_DIR[] = "TAQ_CONF";
inline constexpr char QEN_ENV_MESSAGES_ROOT[] = "TAQ_MESSAGES_DIR";
inline constexpr char QEN_ENV_LOCAL_NAME[] = "ZORQ_LOCAL_NAME";

} // namespace taq_1
