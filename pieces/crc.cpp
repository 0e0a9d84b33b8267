#include "pieces/crc.h"

#include <array>
#include <cstddef>
#include <utility>

std::uint16_t crc_tab[256];
unsigned long crc32_tab[256];

namespace {

constexpr std::uint16_t kPolynomial16 = 0x1021;
constexpr std::uint32_t kPolynomial32 = 0x04C11DB7;
constexpr std::uint32_t kNoMatch = 0xFFFFFFFF;

// Start-up walks both areas byte by byte, which would be most of a short run. Row k says what a byte adds to
// the CRC once k further bytes have gone by, so that a stride of bytes is looked up at once instead of one
// after the other; row 0 is crc_tab.
constexpr std::size_t kStride = 16;
std::array<std::array<std::uint16_t, 256>, kStride> g_strideTab;
bool g_strideTabReady = false;

std::uint16_t Step(std::uint16_t crc, unsigned char byte) {
  return static_cast<std::uint16_t>((crc << 8) ^ crc_tab[(crc >> 8) ^ byte]);
}

std::uint16_t StepBytes(std::uint16_t crc, const unsigned char* bytes, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) crc = Step(crc, bytes[i]);
  return crc;
}

// The running CRC meets the first two bytes of the stride; the others stand for themselves.
template <std::size_t... Rest>
std::uint16_t StepStride(std::uint16_t crc, const unsigned char* bytes, std::index_sequence<Rest...>) {
  const unsigned first = g_strideTab[kStride - 1][(crc >> 8) ^ bytes[0]];
  const unsigned second = g_strideTab[kStride - 2][(crc & 0xFF) ^ bytes[1]];
  return static_cast<std::uint16_t>((first ^ second) ^
                                    (... ^ g_strideTab[kStride - 3 - Rest][bytes[Rest + 2]]));
}

std::uint16_t StepAll(std::uint16_t crc, const unsigned char* bytes, std::size_t count) {
  while (g_strideTabReady && count >= kStride) {
    crc = StepStride(crc, bytes, std::make_index_sequence<kStride - 2>{});
    bytes += kStride;
    count -= kStride;
  }
  return StepBytes(crc, bytes, count);
}

void DeriveStrideTab() {
  for (std::size_t i = 0; i < 256; ++i) {
    g_strideTab[0][i] = crc_tab[i];
    for (std::size_t row = 1; row < kStride; ++row) g_strideTab[row][i] = Step(g_strideTab[row - 1][i], 0);
  }
  g_strideTabReady = true;
}

std::uint16_t Crc16TableEntry(std::uint32_t index) {
  std::uint32_t value = index << 8;
  for (int bit = 0; bit < 8; ++bit) value = (value << 1) ^ ((value & 0x8000) != 0 ? kPolynomial16 : 0U);
  return static_cast<std::uint16_t>(value);
}

std::uint32_t Crc32TableEntry(std::uint32_t index) {
  std::uint32_t value = 0;
  data_reflect(index, 8, &value);
  value <<= 24;
  for (int bit = 0; bit < 8; ++bit) value = (value << 1) ^ ((value & 0x80000000) != 0 ? kPolynomial32 : 0U);
  data_reflect(value, 32, &value);
  return value;
}

}  // namespace

void BSP_CrcInit() {
  init_crc_tabl();
  init_crc32_tabl();
  DeriveStrideTab();
}

void init_crc_tabl() {
  for (std::uint32_t i = 0; i < 256; ++i) crc_tab[i] = Crc16TableEntry(i);
}

void init_crc32_tabl() {
  for (std::uint32_t i = 0; i < 256; ++i) crc32_tab[i] = Crc32TableEntry(i);
}

void data_reflect(std::uint32_t dwReflect, std::uint32_t dwDataWidth, std::uint32_t* pdwReflect) {
  if (pdwReflect == nullptr) return;
  std::uint32_t reversed = 0;
  for (std::uint32_t bit = 0; bit < dwDataWidth && bit < 32; ++bit) {
    reversed = (reversed << 1) | ((dwReflect >> bit) & 1);
  }
  *pdwReflect = reversed;
}

std::uint16_t BSP_Crc16Cal(const unsigned char* pData, unsigned long ulLen) {
  return pData != nullptr ? StepAll(0, pData, ulLen) : std::uint16_t{0};
}

std::uint32_t BSP_Crc32Cal(const unsigned char* pData, std::uint32_t ulLen) {
  if (pData == nullptr) return 0;
  std::uint32_t crc = 0;
  for (std::uint32_t i = 0; i < ulLen; ++i) {
    crc = ((crc << 8) | pData[i]) ^ static_cast<std::uint32_t>(crc32_tab[crc >> 24]);
  }
  return crc;
}

void BSP_CrcMakeCkSum(const unsigned char* pucBuf, std::uint32_t ulLen, std::uint16_t* pusCksum) {
  if (pusCksum != nullptr) *pusCksum = BSP_Crc16Cal(pucBuf, ulLen);
}

std::uint32_t BSP_CrcCheckCkSum(const unsigned char* pucSrc, std::uint32_t ulLen, std::uint32_t ulCheckSum) {
  if (pucSrc == nullptr && ulLen != 0) return kNoMatch;
  return BSP_Crc16Cal(pucSrc, ulLen) == ulCheckSum ? 0 : kNoMatch;
}

void make_crc_checksume(const unsigned char* buffer, unsigned long length, std::uint16_t* checksum) {
  if (buffer == nullptr || checksum == nullptr) return;
  *checksum = StepAll(*checksum, buffer, length);
}
