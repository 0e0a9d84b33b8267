# Gives fwvet_root_cert_source(), which makes the source with the root certificate that this build trusts.
include("${CMAKE_SOURCE_DIR}/cmake/root_cert.cmake")
