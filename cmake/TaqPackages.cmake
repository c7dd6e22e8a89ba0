# Debian packages: cpack -G DEB in a build folder makes one of each component of the installation.
#
#   taq_package(COMPONENT NAME name SUMMARY line DESCRIPTION line... [DEPENDS text] [SECTION text] [ALL] [SCRIPTS folder])
#
# A new package is one call here, and COMPONENT in the install() rules of what it holds. ALL: it holds nothing of the
# machine's kind. SCRIPTS: the folder of its postinst and prerm. A line of the description has at most 79 bytes.

set(CPACK_GENERATOR DEB)
file(STRINGS ${PROJECT_SOURCE_DIR}/SECURITY.md contact REGEX "<[^ @]+@[^ >]+>") # its one place
string(REGEX REPLACE ".*<([^>]+)>.*" "taqmsg developers <\\1>" CPACK_PACKAGE_CONTACT "${contact}")
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
                                                WORLD_READ WORLD_EXECUTE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS OFF)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_COMPONENTS_ALL)

set(package_files ${PROJECT_BINARY_DIR}/package-files)
configure_file(${PROJECT_SOURCE_DIR}/packaging/changelog.in ${package_files}/changelog @ONLY)
execute_process(COMMAND ${TAQ_GZIP} -9nk -f ${package_files}/changelog COMMAND_ERROR_IS_FATAL ANY)

function(taq_package component)
  cmake_parse_arguments(P "ALL" "NAME;SUMMARY;DEPENDS;SECTION;SCRIPTS" "DESCRIPTION" ${ARGN})
  string(TOUPPER ${component} key)
  set(settings PACKAGE_NAME ${P_NAME} PACKAGE_SECTION ${P_SECTION} PACKAGE_DEPENDS "${P_DEPENDS}" PACKAGE_SHLIBDEPS ON)
  if(P_ALL)
    list(APPEND settings PACKAGE_ARCHITECTURE all)
  endif()
  list(JOIN P_DESCRIPTION "\n" description)
  set(CPACK_COMPONENT_${key}_DESCRIPTION "${P_SUMMARY}\n${description}" PARENT_SCOPE)
  while(settings)
    list(POP_FRONT settings name value)
    set(CPACK_DEBIAN_${key}_${name} "${value}" PARENT_SCOPE)
  endwhile()
  if(P_SCRIPTS)
    set(CPACK_DEBIAN_${key}_PACKAGE_CONTROL_EXTRA "${P_SCRIPTS}/postinst;${P_SCRIPTS}/prerm" PARENT_SCOPE)
  endif()
  # Not part of a plain installation: only of a package.
  set(package ${component} EXCLUDE_FROM_ALL)
  install(FILES ${package_files}/changelog.gz DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${P_NAME} COMPONENT ${package})
  install(FILES ${PROJECT_SOURCE_DIR}/packaging/copyright DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${P_NAME}
          COMPONENT ${package})
  if(EXISTS ${PROJECT_SOURCE_DIR}/packaging/${P_NAME}.lintian-overrides)
    install(FILES ${PROJECT_SOURCE_DIR}/packaging/${P_NAME}.lintian-overrides RENAME ${P_NAME}
            DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides COMPONENT ${package})
  endif()
  list(APPEND CPACK_COMPONENTS_ALL ${component})
  set(CPACK_COMPONENTS_ALL ${CPACK_COMPONENTS_ALL} PARENT_SCOPE)
endfunction()

taq_package(
  tools
  NAME taqmsg
  SECTION admin
  SUMMARY "readers for log data files and compiler for message catalogs"
  DESCRIPTION "taqmsg shows what the services of a cluster logged, in the reader's"
              "language. taqldf searches and exports the records of many logs at once."
              "taqgencat compiles message catalogs and adds those of a service to the"
              "installed ones.")
taq_package(
  dev
  NAME libtaq-dev
  SECTION libdevel
  DEPENDS "taqmsg (= ${PROJECT_VERSION}), libstdc++-12-dev | libstdc++-dev"
  SUMMARY "runtime library that writes log data files (development files)"
  DESCRIPTION "Services log with this library: beside a readable text log it keeps compact"
              "records, which taqmsg shows in any language. This package holds the static"
              "library, its headers, and the files with which CMake finds them.")
taq_package(
  catalogs-package
  NAME taq-catalogs
  SECTION localization
  ALL
  DEPENDS "taqmsg (>= ${PROJECT_VERSION})"
  SCRIPTS ${package_files}
  SUMMARY "message catalogs of the system for taqmsg and services"
  DESCRIPTION "The texts of the system in English, German, French and Japanese. They are"
              "compiled when the package is installed, into the catalogs that services share.")

# The sources of the catalogs, and the scripts that compile them.
foreach(language IN LISTS TAQ_LANGUAGES)
  install(FILES ${PROJECT_SOURCE_DIR}/catalogs/${language}/kore.msg
          DESTINATION ${CMAKE_INSTALL_DATADIR}/taq/messages/KORE/${language} COMPONENT catalogs-package EXCLUDE_FROM_ALL)
endforeach()
foreach(script postinst prerm)
  configure_file(${PROJECT_SOURCE_DIR}/packaging/taq-catalogs.${script}.in ${package_files}/${script} @ONLY
                 FILE_PERMISSIONS ${TAQ_SCRIPT_PERMISSIONS})
endforeach()

include(CPack)
