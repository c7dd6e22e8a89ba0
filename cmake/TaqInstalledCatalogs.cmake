# What happens to message catalogs while a project is installed. Included by install scripts.

# taq_catalog_place(ROOT VARIABLE): where catalogs belong that are installed now, DESTDIR included. The root of the
# system belongs to the system's prefixes; below another prefix an ordinary user has a root there. A root that
# somebody chose is taken as it is.
function(taq_catalog_place root variable)
  if(root STREQUAL "/opt/KAVO" AND NOT CMAKE_INSTALL_PREFIX MATCHES "^/(usr|usr/local)?/?$")
    set(root ${CMAKE_INSTALL_PREFIX}${root})
  endif()
  set(${variable} $ENV{DESTDIR}${root} PARENT_SCOPE)
endfunction()

# taq_install_module(TAQGENCAT MODULE ROOT SOURCE_DIR LANGUAGE...): the system's own catalogs. Categories that
# services have added stay.
function(taq_install_module taqgencat module root source_dir)
  taq_catalog_place(${root} place)
  foreach(language IN LISTS ARGN)
    message(STATUS "Installing: ${place}/messages/${language}")
    execute_process(
      COMMAND ${taqgencat} --module ${module} --lang ${language} --out ${place} ${source_dir}/${language}/kore.msg
      COMMAND_ERROR_IS_FATAL ANY)
  endforeach()
  if(NOT place STREQUAL "$ENV{DESTDIR}${root}")
    message(STATUS "The commands find these catalogs with TAQ_MESSAGES_DIR=${place}")
  endif()
endfunction()

# taq_add_installed(TAQGENCAT OWNER MODULE ROOT FOLDER): a service's catalogs, from the installed folder of its
# sources. While a package is made there is no module to add to: then the package's script does it.
function(taq_add_installed taqgencat owner module root folder)
  taq_catalog_place(${root} place)
  set(add --add ${owner} --module ${module})
  file(GLOB maps ${place}/messages/*/${module}.bmcmap)
  if("$ENV{DESTDIR}" STREQUAL "" AND NOT CMAKE_INSTALL_PREFIX MATCHES "/_CPack_Packages/" AND maps)
    message(STATUS "Adding the messages of ${owner} to ${place}")
    execute_process(COMMAND ${taqgencat} ${add} --out ${place} ${CMAKE_INSTALL_PREFIX}/${folder}
                    COMMAND_ERROR_IS_FATAL ANY)
  else()
    message(STATUS "Still to be done where ${owner} will run: taqgencat ${add} <prefix>/${folder}")
  endif()
endfunction()
