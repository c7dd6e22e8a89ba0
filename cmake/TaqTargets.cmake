# Functions with which the folders declare their targets.

add_library(taq_warnings INTERFACE)
target_compile_options(taq_warnings INTERFACE -Wall -Wextra -Wshadow -Wconversion)
if(TAQ_WERROR)
  target_compile_options(taq_warnings INTERFACE -Werror)
endif()

# For tests: GCC 12 takes the length of a temporary in "text" + std::string for one that may be negative, when it optimises.
add_library(taq_test_warnings INTERFACE)
target_link_libraries(taq_test_warnings INTERFACE taq_warnings)
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  target_compile_options(taq_test_warnings INTERFACE -Wno-array-bounds -Wno-restrict -Wno-stringop-overflow)
endif()

if(TAQ_SANITIZE)
  add_compile_options(-fsanitize=${TAQ_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer -g)
  add_link_options(-fsanitize=${TAQ_SANITIZE})
endif()
if(TAQ_LIBFUZZER)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# taq_room(NAME SOURCES file... [LIBS target...])
# One static library taq_NAME for one folder of src/lib. Include paths start at src/lib. The sources
# also become part of the one library that programs link, taq::taq.
function(taq_room name)
  cmake_parse_arguments(ROOM "" "" "SOURCES;LIBS" ${ARGN})
  add_library(taq_${name} STATIC ${ROOM_SOURCES})
  target_include_directories(taq_${name} PUBLIC ${PROJECT_SOURCE_DIR}/src/lib)
  target_link_libraries(taq_${name} PUBLIC ${ROOM_LIBS} PRIVATE $<BUILD_INTERFACE:taq_warnings>)
  # A program linked with --gc-sections takes, and binds at its start, only what it can reach.
  target_compile_options(taq_${name} PRIVATE -ffunction-sections -fdata-sections)
  set_target_properties(taq_${name} PROPERTIES POSITION_INDEPENDENT_CODE ON)
  if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    # Two plugins, each with a library of its own, would share static members otherwise, but not what belongs to them.
    target_compile_options(taq_${name} PRIVATE -fno-gnu-unique)
  endif()
  set_property(GLOBAL APPEND PROPERTY TAQ_ROOMS taq_${name})
endfunction()

# taq_manual(FILE...)
# Installs manual pages of docs/, compressed as manuals are. Without a time in them the same page gives the same bytes.
find_program(TAQ_GZIP gzip REQUIRED)
function(taq_manual)
  foreach(page IN LISTS ARGN)
    get_filename_component(section ${page} LAST_EXT)
    string(REPLACE "." man section ${section})
    set(component tools)
    if(section STREQUAL man3) # the functions of the library
      set(component dev)
    endif()
    set(compressed ${PROJECT_BINARY_DIR}/man/${page}.gz)
    add_custom_command(
      OUTPUT ${compressed}
      COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/man
      COMMAND ${TAQ_GZIP} -9nc ${PROJECT_SOURCE_DIR}/docs/${page} > ${compressed}
      DEPENDS ${PROJECT_SOURCE_DIR}/docs/${page})
    add_custom_target(taq_manual_${page} ALL DEPENDS ${compressed})
    install(FILES ${compressed} DESTINATION ${CMAKE_INSTALL_MANDIR}/${section} COMPONENT ${component})
  endforeach()
endfunction()

# taq_completion(COMMAND): installs what bash and zsh complete for a command, from completions/.
function(taq_completion command)
  set(from ${PROJECT_SOURCE_DIR}/completions)
  install(FILES ${from}/${command}.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME ${command}
          COMPONENT tools)
  install(FILES ${from}/_${command} DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions COMPONENT tools)
endfunction()

# taq_test(NAME [SYSLOG] SOURCES file... [LIBS target...] [LABELS label...] [TIMEOUT seconds])
# One GoogleTest program; every TEST in it becomes a test of its own for ctest. SYSLOG: what the program sends to
# the system log is caught (tests/support/SyslogTrap.h).
function(taq_test name)
  cmake_parse_arguments(T "SYSLOG" "TIMEOUT" "SOURCES;LIBS;LABELS" ${ARGN})
  if(NOT T_TIMEOUT)
    set(T_TIMEOUT 120)
  endif()
  if(T_SYSLOG)
    list(APPEND T_SOURCES ${PROJECT_SOURCE_DIR}/tests/support/SyslogTrap.cpp)
  endif()
  add_executable(${name} ${T_SOURCES} $<TARGET_OBJECTS:taq_test_environment>)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  target_link_libraries(${name} PRIVATE ${T_LIBS} GTest::gmock GTest::gtest_main taq_test_warnings)
  target_precompile_headers(${name} REUSE_FROM taq_test_headers)
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST
                       PROPERTIES TIMEOUT ${T_TIMEOUT} LABELS "${T_LABELS}")
endfunction()

# taq_fuzz(NAME SOURCES file... [LIBS target...])
# One fuzz target with LLVMFuzzerTestOneInput. Under TAQ_LIBFUZZER it is a libFuzzer program;
# otherwise it is linked with the replay driver and ctest runs it over its corpus fuzz/corpus/NAME.
function(taq_fuzz name)
  cmake_parse_arguments(F "" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${F_SOURCES})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/fuzz ${PROJECT_SOURCE_DIR}/tests)
  target_link_libraries(${name} PRIVATE ${F_LIBS} taq_warnings)
  if(TAQ_LIBFUZZER)
    target_link_options(${name} PRIVATE -fsanitize=fuzzer)
  else()
    target_sources(${name} PRIVATE ${PROJECT_SOURCE_DIR}/fuzz/replay_main.cpp)
    add_test(NAME fuzz_replay.${name}
             COMMAND ${name} ${PROJECT_SOURCE_DIR}/fuzz/corpus/${name})
    set_tests_properties(fuzz_replay.${name} PROPERTIES TIMEOUT 120 LABELS fuzz)
  endif()
endfunction()
