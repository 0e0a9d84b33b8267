# Installing is for devices. A build that trusts a development root must never reach one, so its installation fails
# before the first file is copied.
include_guard(GLOBAL)
if(NOT FWVET_ROOT_CERT)
  set(all_components "")
  if(CMAKE_VERSION VERSION_GREATER_EQUAL 3.21)
    set(all_components ALL_COMPONENTS)
  endif()
  install(CODE "message(FATAL_ERROR \"This build trusts a DEVELOPMENT root and must not be installed. \
Configure with -DFWVET_ROOT_CERT=<your root, PEM> and build again.\")" ${all_components})
endif()
