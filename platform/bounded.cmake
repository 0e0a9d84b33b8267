# fwvet_bounded: the bounded copies, fills and prints that everything on the device uses.
add_library(fwvet_bounded STATIC "${CMAKE_CURRENT_LIST_DIR}/bounded.cpp")
target_link_libraries(fwvet_bounded PRIVATE fwvet_device)
