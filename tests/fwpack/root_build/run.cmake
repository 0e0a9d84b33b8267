# cmake -DPROJECT= -DBINARY= -DSOURCE= -DFWPACK= -DGENERATOR= -DCOMPILER= -DROOT= [-DMESSAGE=] -P run.cmake
# Builds the project in this directory with ROOT as the device's root. With MESSAGE the build must stop and say so;
# without, the program must print ROOT, which has its final length already.
file(REMOVE_RECURSE "${BINARY}")
execute_process(COMMAND "${CMAKE_COMMAND}" -S "${PROJECT}" -B "${BINARY}" -G "${GENERATOR}"
    "-DFWVET_SOURCE_DIR=${SOURCE}" "-DFWVET_FWPACK=${FWPACK}" "-DFWVET_ROOT_CERT=${ROOT}"
    "-DCMAKE_CXX_COMPILER=${COMPILER}"
  COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND "${CMAKE_COMMAND}" --build "${BINARY}" RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE out)
message("${out}")
if(MESSAGE)
  string(FIND "${out}" "${MESSAGE}" at)
  if(status EQUAL 0 OR at EQUAL -1)
    message(FATAL_ERROR "The build ended with ${status} and should have failed, saying '${MESSAGE}'.")
  endif()
  return()
endif()
execute_process(COMMAND "${BINARY}/print_root" OUTPUT_FILE "${BINARY}/printed" COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND "${CMAKE_COMMAND}" -E compare_files "${BINARY}/printed" "${ROOT}" COMMAND_ERROR_IS_FATAL ANY)
