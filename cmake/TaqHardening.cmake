# Optimised builds defend themselves: against writes beyond a buffer, stack overflow into other memory, and changed
# tables of the linker. Packagers who bring flags of their own switch this off with TAQ_HARDENING=OFF.
option(TAQ_HARDENING "Harden optimised builds" ON)

if(TAQ_HARDENING AND NOT TAQ_SANITIZE AND NOT TAQ_LIBFUZZER AND NOT CMAKE_BUILD_TYPE STREQUAL "Debug")
  include(CheckCXXCompilerFlag)
  include(CheckPIESupported)
  foreach(flag -fstack-protector-strong -fstack-clash-protection)
    string(MAKE_C_IDENTIFIER "taq_has${flag}" has_flag)
    check_cxx_compiler_flag(${flag} ${has_flag})
    if(${has_flag})
      add_compile_options(${flag})
    endif()
  endforeach()
  add_compile_options(-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2 -Wformat -Wformat-security)
  add_link_options(-Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
  check_pie_supported(LANGUAGES CXX)
  set(CMAKE_POSITION_INDEPENDENT_CODE ON)
endif()
