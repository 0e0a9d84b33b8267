#include "pieces/flash_path.h"

const char* FlashDevicePath() {
  return FWVET_FLASH_FILE;
}
