#include "app/stub.h"

int BSP_taskDelay(unsigned int /*msDelay*/) {
  return 0;
}

int BSP_semBInit(void** /*MutexID*/, int /*initialState*/) {
  return 0;
}

int BSP_semLock(void* /*MutexID*/, int /*timeout*/) {
  return 0;
}

int BSP_semUnlock(void* /*MutexID*/) {
  return 0;
}
