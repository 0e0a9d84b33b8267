#ifndef FWVET_APP_STUB_H
#define FWVET_APP_STUB_H

// Operating-system services of the board. The tool has one thread, so they succeed without doing anything and
// never block.

/// Pauses for `msDelay` milliseconds: returns 0 at once.
int BSP_taskDelay(unsigned int msDelay);

/// Creates a binary semaphore: returns 0 and leaves `*MutexID` as it is.
int BSP_semBInit(void** MutexID, int initialState);

/// Takes a semaphore, waiting up to `timeout` (-1: without limit): returns 0.
int BSP_semLock(void* MutexID, int timeout);

/// Releases a semaphore: returns 0.
int BSP_semUnlock(void* MutexID);

#endif
