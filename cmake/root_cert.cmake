# The root certificate as a source: fwpack checks it and brings it to its length, a script writes it as two arrays. A
# certificate that cannot be the root stops the build with fwpack's message.
include_guard(GLOBAL)
include("${CMAKE_CURRENT_LIST_DIR}/devpki.cmake")
set(FWVET_EMBED_SCRIPT "${CMAKE_CURRENT_LIST_DIR}/embed_root_cert.cmake")

# Adds the rule that makes `source` from the certificate in `pem`, in the directory of the caller. The rule also depends
# on a note of which certificate it was: another one must be compiled in even when its file is older than the source.
# What follows the comment are targets that make the certificate.
function(_fwvet_add_root_source source pem comment)
  fwvet_fwpack_command(fwpack)
  set(note "${source}.from")
  set(hash "")
  if(NOT ARGN)
    file(SHA256 "${pem}" hash)
  endif()
  file(CONFIGURE OUTPUT "${note}" CONTENT "${pem} ${hash}\n" @ONLY)
  set(padded "${source}.pem")
  add_custom_command(OUTPUT "${source}"
    COMMAND ${fwpack} root "${pem}" --out "${padded}"
    COMMAND "${CMAKE_COMMAND}" "-DPEM=${padded}" "-DSOURCE=${source}" -P "${FWVET_EMBED_SCRIPT}"
    BYPRODUCTS "${padded}"
    DEPENDS ${fwpack} "${pem}" "${note}" "${FWVET_EMBED_SCRIPT}" ${ARGN}
    COMMENT "${comment}"
    VERBATIM)
endfunction()

# fwvet_root_cert_source(<source>): the source with the root that the device of this build trusts.
function(fwvet_root_cert_source source_variable)
  set(source "${CMAKE_CURRENT_BINARY_DIR}/device_root_cert.cpp")
  if(FWVET_ROOT_CERT)
    get_filename_component(pem "${FWVET_ROOT_CERT}" ABSOLUTE BASE_DIR "${CMAKE_SOURCE_DIR}")
    _fwvet_add_root_source("${source}" "${pem}" "Compiling in the root certificate ${pem}")
  else()
    fwvet_devpki(devpki)
    message(WARNING
      "FWVET_ROOT_CERT is not set: fwvet will trust a DEVELOPMENT root, whose key lies in ${devpki}. "
      "This build is for development only and cannot be installed.")
    _fwvet_add_root_source("${source}" "${devpki}/root.pem"
      "WARNING: compiling in the DEVELOPMENT root of ${devpki}; not for devices" fwvet_devpki_files)
  endif()
  set(${source_variable} "${source}" PARENT_SCOPE)
endfunction()

# fwvet_devpki_root_source(<source>): the source with the development PKI's root, whatever the device trusts. Tests link
# it in the device's place.
function(fwvet_devpki_root_source source_variable)
  set(source "${CMAKE_CURRENT_BINARY_DIR}/devpki_root_cert.cpp")
  get_property(made DIRECTORY PROPERTY FWVET_DEVPKI_ROOT_SOURCE)
  if(NOT made)
    fwvet_devpki(devpki)
    _fwvet_add_root_source("${source}" "${devpki}/root.pem" "Compiling in the development root for tests"
      fwvet_devpki_files)
    set_property(DIRECTORY PROPERTY FWVET_DEVPKI_ROOT_SOURCE "${source}")
  endif()
  set(${source_variable} "${source}" PARENT_SCOPE)
endfunction()
