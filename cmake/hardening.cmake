# Hardening of a shipped build: position-independent program, full RELRO, stack protector, checked libc calls,
# control-flow enforcement where the compiler knows it.
include(CheckCXXCompilerFlag)
if(FWVET_HARDEN)
  add_compile_options(-O2 -fstack-protector-strong -fstack-clash-protection
    "$<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
  check_cxx_compiler_flag(-fcf-protection=full FWVET_HAS_CET)
  if(FWVET_HAS_CET)
    add_compile_options(-fcf-protection=full)
  endif()
  add_link_options(-Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
  include(CheckPIESupported)
  check_pie_supported(LANGUAGES C CXX)
  set(CMAKE_POSITION_INDEPENDENT_CODE ON)
endif()
