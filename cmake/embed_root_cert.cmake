# Writes SOURCE from the padded root certificate in PEM: cmake -DPEM=... -DSOURCE=... -P embed_root_cert.cmake
set(first_size 1552)
set(whole_size 1934)

file(SIZE "${PEM}" size)
if(NOT size EQUAL whole_size)
  message(FATAL_ERROR "${PEM} has ${size} bytes where ${whole_size} are needed.")
endif()
math(EXPR rest_size "${whole_size} - ${first_size}")
file(READ "${PEM}" first LIMIT ${first_size} HEX)
file(READ "${PEM}" rest OFFSET ${first_size} LIMIT ${rest_size} HEX)
foreach(piece IN ITEMS first rest)
  string(REGEX REPLACE "(................................)" "\\1\n" ${piece} "${${piece}}")
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," ${piece} "${${piece}}")
endforeach()
file(WRITE "${SOURCE}" "#include \"app/root_cert.h\"

const unsigned char g_ucRootCert[kRootCertFirstSize] = {
${first}};

const unsigned char g_ucRootCertEnd[kRootCertSize - kRootCertFirstSize] = {
${rest}};
")
