#ifndef FWVET_PIECES_FLASH_PATH_H
#define FWVET_PIECES_FLASH_PATH_H

/// Path of the file that simulates the flash. Alone in its source file, so that a program that defines this
/// function itself works on a flash of its own and shares everything else.
const char* FlashDevicePath();

#endif
