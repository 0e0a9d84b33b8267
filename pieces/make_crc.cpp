#include "pieces/make_crc.h"

#include "pieces/crc.h"

void init_crc_tab() {
  init_crc_tabl();
}

void make_crc(const unsigned char* buffer, std::uint32_t count, std::uint16_t* crc) {
  if (crc == nullptr) return;
  std::uint16_t value = 0;
  make_crc_checksume(buffer, count, &value);
  *crc = value;
}

std::uint16_t CalCRC(const unsigned char* ptr, std::uint32_t count) {
  init_crc_tab();
  std::uint16_t crc = 0;
  make_crc(ptr, count, &crc);
  return crc;
}
