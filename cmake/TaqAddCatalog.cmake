# taq_add_catalog(TARGET target CATEGORY number SOURCES language/file.msg...
#                 [REFERENCE language] [OWNER name] [MODULE name] [NAMESPACE name] [HEADER file])
#
# The messages of a service, in one folder for each language.
#
# - Builds: checks every language against the reference (en) and compiles it, into the catalog root
#   <binary folder>/OWNER-catalogs, with which the service can run from the build tree.
# - Generates HEADER (OWNER_messages.h) for the target: one name for each message, in NAMESPACE. OWNER is the target's
#   name unless it is given; so is NAMESPACE, with "_" for what cannot stand in a name.
# - Installs the sources to share/taq/messages/OWNER/<language>, and adds them to the catalogs of MODULE (KORE) when
#   these are installed. Packages do that where they are installed, with the scripts postinst and prerm that stand in
#   <binary folder>/OWNER-package.

set(TAQ_CMAKE_DIR ${CMAKE_CURRENT_LIST_DIR})
set(TAQ_SCRIPT_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

function(taq_add_catalog)
  cmake_parse_arguments(C "" "TARGET;CATEGORY;REFERENCE;OWNER;MODULE;NAMESPACE;HEADER" "SOURCES" ${ARGN})
  if(NOT C_TARGET OR NOT C_CATEGORY OR NOT C_SOURCES OR C_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "taq_add_catalog needs TARGET, CATEGORY and SOURCES; not understood: ${C_UNPARSED_ARGUMENTS}")
  endif()
  set(C_REFERENCE ${C_REFERENCE} en)
  list(GET C_REFERENCE 0 reference)
  set(C_OWNER ${C_OWNER} ${C_TARGET})
  list(GET C_OWNER 0 owner)
  set(C_MODULE ${C_MODULE} KORE)
  list(GET C_MODULE 0 module)
  string(MAKE_C_IDENTIFIER "${owner}" name)
  set(C_NAMESPACE ${C_NAMESPACE} ${name})
  list(GET C_NAMESPACE 0 namespace)
  set(C_HEADER ${C_HEADER} ${owner}_messages.h)
  list(GET C_HEADER 0 header)

  # The sources by language, which is the name of their folder.
  set(languages)
  foreach(source IN LISTS C_SOURCES)
    get_filename_component(source ${source} ABSOLUTE)
    get_filename_component(folder ${source} DIRECTORY)
    get_filename_component(language ${folder} NAME)
    list(APPEND languages ${language})
    list(APPEND sources_${language} ${source})
  endforeach()
  list(REMOVE_DUPLICATES languages)
  if(NOT reference IN_LIST languages)
    message(FATAL_ERROR "taq_add_catalog: no source lies in a folder ${reference}, the reference")
  endif()

  set(root ${CMAKE_CURRENT_BINARY_DIR}/${owner}-catalogs)
  set(category --category ${C_CATEGORY})
  list(TRANSFORM sources_${reference} PREPEND --reference= OUTPUT_VARIABLE references)
  set(products)
  foreach(language IN LISTS languages)
    set(map ${root}/messages/${language}/${module}.bmcmap)
    add_custom_command(
      OUTPUT ${map}
      COMMAND taq::taqgencat --check ${references} ${category} --module ${module} --lang ${language} --out ${root}
              ${sources_${language}}
      DEPENDS taq::taqgencat ${sources_${language}} ${sources_${reference}}
      COMMENT "Compiling the ${language} messages of ${owner}"
      VERBATIM)
    list(APPEND products ${map})
    install(FILES ${sources_${language}} DESTINATION ${CMAKE_INSTALL_DATADIR}/taq/messages/${owner}/${language})
  endforeach()

  set(header_dir ${CMAKE_CURRENT_BINARY_DIR}/${owner}-messages)
  file(MAKE_DIRECTORY ${header_dir})
  add_custom_command(
    OUTPUT ${header_dir}/${header}
    COMMAND taq::taqgencat ${category} --header ${header_dir}/${header} --namespace ${namespace} ${sources_${reference}}
    DEPENDS taq::taqgencat ${sources_${reference}}
    COMMENT "Naming the messages of ${owner}"
    VERBATIM)
  target_sources(${C_TARGET} PRIVATE ${header_dir}/${header} ${products})
  target_include_directories(${C_TARGET} PRIVATE ${header_dir})

  install(CODE "include(\"${TAQ_CMAKE_DIR}/TaqInstalledCatalogs.cmake\")
    taq_add_installed(\"$<TARGET_FILE:taq::taqgencat>\" ${owner} ${module} \"${TAQ_MESSAGES_ROOT}\"
                      \"${CMAKE_INSTALL_DATADIR}/taq/messages/${owner}\")")

  set(taq_owner ${owner})
  set(taq_module ${module})
  configure_file(${TAQ_CMAKE_DIR}/TaqPostinst.in ${CMAKE_CURRENT_BINARY_DIR}/${owner}-package/postinst @ONLY
                 FILE_PERMISSIONS ${TAQ_SCRIPT_PERMISSIONS})
  configure_file(${TAQ_CMAKE_DIR}/TaqPrerm.in ${CMAKE_CURRENT_BINARY_DIR}/${owner}-package/prerm @ONLY
                 FILE_PERMISSIONS ${TAQ_SCRIPT_PERMISSIONS})
endfunction()
