#ifndef FWVET_TESTS_SUPPORT_FLASH_MODEL_H
#define FWVET_TESTS_SUPPORT_FLASH_MODEL_H

#include <cstddef>
#include <optional>
#include <string>

#include "tests/support/der_builder.h"

/// What the flash of a device must hold after runs of the tool, to the byte, worked out from the layout of
/// the areas and without any code of the tool. Files never change their size here, as the tool's two never
/// do.
class FlashModel {
 public:
  static constexpr std::size_t kAreaSize = 0x80000;
  static constexpr std::size_t kFlashSize = 2 * kAreaSize;

  /// Erased: 0xFF all over.
  FlashModel();

  /// What the start of any run does: a flash that bears no valid image gets both areas stamped as they are;
  /// the image is formatted in memory only.
  void Start();
  /// A write of the tool: creates the file or overwrites it, then puts the image into both areas.
  void Write(const std::string& name, const der::Bytes& record);
  /// All of the flash.
  [[nodiscard]] der::Bytes Flash() const;

 private:
  [[nodiscard]] std::optional<std::size_t> Find(const std::string& name) const;
  std::size_t Create(const std::string& name, std::size_t length);
  void Format();

  der::Bytes image_;  // the area as memory holds it
  der::Bytes area_;   // the area as both halves of the flash hold it, but for its stamp
  bool stamped_ = false;
};

/// The whole allocated content of a live file in the area that starts at `area_start` of a flash dump.
std::optional<der::Bytes> FileInArea(const der::Bytes& flash, std::size_t area_start,
                                     const std::string& name);

/// The device CRL record that holds `crl`, `recorded_length` being what its length field says.
der::Bytes DeviceCrlRecord(const der::Bytes& crl, std::uint32_t recorded_length);
der::Bytes DeviceCrlRecord(const der::Bytes& crl);

/// The start-up record.
der::Bytes StartupRecord(std::uint32_t magic, std::uint32_t mode, std::uint32_t skip_crl, std::uint32_t crc);

#endif
