# The roots that are compiled in. Environment variables move each of them at run time.
#
#   TAQ_DATA_ROOT      log data files and logs, below ldf/ and log/
#   TAQ_CONF_DIR       configuration
#   TAQ_MESSAGES_ROOT  message catalogs, below messages/

set(taq_roots DATA_ROOT CONF_DIR MESSAGES_ROOT)
set(taq_default_DATA_ROOT /var/taqsvc)
set(taq_default_CONF_DIR /etc/taqsvc)
set(taq_default_MESSAGES_ROOT /opt/KAVO)
set(TAQ_DATA_ROOT ${taq_default_DATA_ROOT} CACHE STRING "Root of the log data files and logs")
set(TAQ_CONF_DIR ${taq_default_CONF_DIR} CACHE STRING "Folder of the configuration")
set(TAQ_MESSAGES_ROOT ${taq_default_MESSAGES_ROOT} CACHE STRING "Root of the message catalogs")

# What is not the default, as definitions of the compiler.
set(TAQ_ROOT_DEFINITIONS)
foreach(root IN LISTS taq_roots)
  if(NOT TAQ_${root} MATCHES "^/")
    message(FATAL_ERROR "TAQ_${root} is not an absolute path: '${TAQ_${root}}'")
  endif()
  if(NOT TAQ_${root} STREQUAL taq_default_${root})
    list(APPEND TAQ_ROOT_DEFINITIONS "TAQ_DEFAULT_${root}=\"${TAQ_${root}}\"")
  endif()
endforeach()
