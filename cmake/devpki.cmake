# The development PKI of the build tree: made once by fwpack, used by the tests and by builds without FWVET_ROOT_CERT.
# Its times are fixed, so that no test depends on the day it runs. Whoever includes this file owns the rule that makes
# it.
include_guard(GLOBAL)

# fwvet_devpki(<dir>): the directory with its keys, certificates, CRLs and bundle. Depend on fwvet_devpki_files.
function(fwvet_devpki dir_variable)
  set(${dir_variable} "${CMAKE_BINARY_DIR}/devpki" PARENT_SCOPE)
endfunction()

# fwvet_fwpack_command(<variable>): how to call fwpack during the build.
function(fwvet_fwpack_command command_variable)
  if(FWVET_FWPACK)
    set(${command_variable} "${FWVET_FWPACK}" PARENT_SCOPE)
  else()
    set(${command_variable} fwpack PARENT_SCOPE)
  endif()
endfunction()

fwvet_devpki(_devpki)
fwvet_fwpack_command(_fwpack)
set(_devpki_files bundle.pem)
foreach(_member IN ITEMS root issuing-ca tsa-ca tsa signer signer2)
  list(APPEND _devpki_files ${_member}.pem ${_member}.key)
endforeach()
foreach(_issuer IN ITEMS root issuing-ca tsa-ca)
  list(APPEND _devpki_files ${_issuer}.crl)
endforeach()
list(TRANSFORM _devpki_files PREPEND "${_devpki}/")

# No dependency on fwpack's file: a newer fwpack must not make other keys under those who use these.
add_custom_command(OUTPUT ${_devpki_files}
  COMMAND ${_fwpack} devpki "${_devpki}" --signers 2
    --not-before 2020-01-01T00:00:00Z --not-after 2049-12-31T23:59:59Z
    --this-update 2024-01-01T00:00:00Z --next-update 2049-12-31T23:59:59Z
  COMMENT "Making the development PKI in ${_devpki}"
  VERBATIM)
add_custom_target(fwvet_devpki_files DEPENDS ${_devpki_files})
