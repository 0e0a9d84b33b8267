# fwvet_warnings: what every target of ours is compiled with.
# fwvet_device: in addition, what holds for code that runs on the device: no exceptions, no RTTI.
add_library(fwvet_warnings INTERFACE)
target_include_directories(fwvet_warnings INTERFACE "${CMAKE_SOURCE_DIR}")
target_compile_options(fwvet_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wformat=2 -Wundef
  $<$<BOOL:${FWVET_WERROR}>:-Werror>)
if(FWVET_SANITIZE)
  target_compile_options(fwvet_warnings INTERFACE
    -fsanitize=${FWVET_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_link_options(fwvet_warnings INTERFACE -fsanitize=${FWVET_SANITIZE})
endif()
if(FWVET_COVERAGE)
  target_compile_options(fwvet_warnings INTERFACE --coverage)
  target_link_options(fwvet_warnings INTERFACE --coverage)
endif()
if(FWVET_FUZZ)
  target_compile_options(fwvet_warnings INTERFACE -fsanitize=fuzzer-no-link)
endif()

add_library(fwvet_device INTERFACE)
target_link_libraries(fwvet_device INTERFACE fwvet_warnings)
target_compile_options(fwvet_device INTERFACE
  $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions> $<$<COMPILE_LANGUAGE:CXX>:-fno-rtti>)
