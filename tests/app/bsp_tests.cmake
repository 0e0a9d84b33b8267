# Tests of the board services.
include_guard(GLOBAL)

fwvet_add_test(NAME bsp_test
  SOURCES
    "${CMAKE_CURRENT_LIST_DIR}/bsp_debug_test.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/bsp_int_trace_test.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/bsp_stub_test.cpp"
  LIBS fwvet_bsp)
