# fwvet_bsp: the board services that the piece file system calls. A library of its own, so that pieces/ can use
# it without depending on the rest of the tool.
add_library(fwvet_bsp STATIC
  "${CMAKE_CURRENT_LIST_DIR}/BspDebug.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/BSPIntTrace.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/stub.cpp")
target_link_libraries(fwvet_bsp PRIVATE fwvet_device)
