# What a device build fixes for good, checked when the build is configured.
set(FWVET_FLASH_FILE "/nvram/flashsimulate" CACHE STRING "Path of the simulated flash on the device")
if(NOT FWVET_FLASH_FILE MATCHES "^/[^\"\\\n]+$")
  message(FATAL_ERROR
    "FWVET_FLASH_FILE must be an absolute path without quotes, backslashes or line breaks; it is '${FWVET_FLASH_FILE}'.")
endif()

set(FWVET_ROOT_CERT "" CACHE FILEPATH "PEM file with the root certificate that the device trusts")
set(FWVET_FWPACK "" CACHE FILEPATH "fwpack of the build host; needed only when cross-compiling")
if(FWVET_ROOT_CERT AND NOT EXISTS "${FWVET_ROOT_CERT}")
  message(FATAL_ERROR "FWVET_ROOT_CERT names '${FWVET_ROOT_CERT}', which does not exist.")
endif()
if(CMAKE_CROSSCOMPILING AND NOT FWVET_ROOT_CERT)
  message(FATAL_ERROR "A cross build needs FWVET_ROOT_CERT: no development root may reach a device.")
endif()
if(CMAKE_CROSSCOMPILING AND NOT FWVET_FWPACK)
  message(FATAL_ERROR "A cross build needs FWVET_FWPACK, a fwpack built for the host, to check the root certificate.")
endif()
