# cmake -DPROJECT= -DBINARY= -DSOURCE= -DFWPACK= -DGENERATOR= -DCOMPILER= -DROOT= [-DMESSAGE=] -P run.cmake
# Builds the project in this directory with ROOT as the device's root. With MESSAGE the build must stop and say so.
# Without, the program must print ROOT, which has its final length already, and another root that takes the place of the
# first file and is older than what the first build made.
file(REMOVE_RECURSE "${BINARY}")

function(build root)
  execute_process(COMMAND "${CMAKE_COMMAND}" -S "${PROJECT}" -B "${BINARY}/build" -G "${GENERATOR}"
      "-DFWVET_SOURCE_DIR=${SOURCE}" "-DFWVET_FWPACK=${FWPACK}" "-DFWVET_ROOT_CERT=${root}"
      "-DCMAKE_CXX_COMPILER=${COMPILER}"
    COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND "${CMAKE_COMMAND}" --build "${BINARY}/build"
    RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE out)
  message("${out}")
  set(status "${status}" PARENT_SCOPE)
  set(out "${out}" PARENT_SCOPE)
endfunction()

function(expect_printed root)
  execute_process(COMMAND "${BINARY}/build/print_root" OUTPUT_FILE "${BINARY}/printed" COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND "${CMAKE_COMMAND}" -E compare_files "${BINARY}/printed" "${root}"
    COMMAND_ERROR_IS_FATAL ANY)
endfunction()

if(MESSAGE)
  build("${ROOT}")
  string(FIND "${out}" "${MESSAGE}" at)
  if(status EQUAL 0 OR at EQUAL -1)
    message(FATAL_ERROR "The build ended with ${status} and should have failed, saying '${MESSAGE}'.")
  endif()
  return()
endif()

file(MAKE_DIRECTORY "${BINARY}/replaced")
execute_process(COMMAND "${FWPACK}" devpki "${BINARY}/other" --key-bits 2048 COMMAND_ERROR_IS_FATAL ANY)
foreach(root IN ITEMS "${ROOT}" "${BINARY}/other/root.pem")
  file(COPY "${root}" DESTINATION "${BINARY}/replaced")  # keeps the file's time
  build("${BINARY}/replaced/root.pem")
  expect_printed("${root}")
endforeach()
