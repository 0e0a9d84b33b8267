# fwvet_use_test_flash(target): links the piece file system with a flash of the test's own. The flash path, sync, the
# calls that reach the flash file, malloc and the board services go through tests/support/flash_device.cpp.
include_guard(GLOBAL)

add_library(fwvet_test_flash OBJECT "${CMAKE_CURRENT_LIST_DIR}/flash_device.cpp")
target_link_libraries(fwvet_test_flash PUBLIC fwvet_warnings)
foreach(symbol IN ITEMS sync write read open close lseek ftruncate malloc calloc
    _Z13BSP_ApiErrRecPKcmm _Z13BSP_taskDelayj _Z12BSP_semBInitPPvi _Z11BSP_semLockPvi _Z13BSP_semUnlockPv)
  target_link_options(fwvet_test_flash INTERFACE "LINKER:--wrap=${symbol}")
endforeach()

function(fwvet_use_test_flash target)
  target_link_libraries(${target} PRIVATE fwvet_test_flash fwvet_pieces)
endfunction()
