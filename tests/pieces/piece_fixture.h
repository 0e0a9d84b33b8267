#ifndef FWVET_TESTS_PIECES_PIECE_FIXTURE_H
#define FWVET_TESTS_PIECES_PIECE_FIXTURE_H

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "pieces/flashPiece.h"

using Bytes = std::vector<unsigned char>;
using Codes = std::vector<std::uint64_t>;

inline constexpr unsigned long kFlashSize = 0x100000;
inline constexpr unsigned long kAreaSize = 0x80000;

/// Returns what `action` printed on standard output.
std::string Printed(const std::function<void()>& action);

/// A number as "%x" prints it.
std::string Hex(std::uint64_t value);

/// The line that a wrong CRC prints for an area.
std::string CrcLine(const Bytes& area);

/// Changes one little-endian number of an image.
void Put32(Bytes& image, std::size_t offset, std::uint32_t value);
std::uint32_t Get32(const Bytes& image, std::size_t offset);

/// Gives an image a valid head over whatever it holds.
void Stamp(Bytes& image);

/// A flash file in a directory of its own and a piece file system that has not been started. Printing is off,
/// no fault is set.
class PieceTest : public ::testing::Test {
 protected:
  PieceTest();
  ~PieceTest() override;

  [[nodiscard]] const std::string& path() const { return path_; }

  /// The driver's way up: flash, geometry, image. Returns the status of BSP_VfsPiecesInit.
  std::uint64_t StartUp();

  /// Forgets all that is in memory, as the end of the process does.
  static void Forget();

  /// Forget, then StartUp with empty journal and records.
  std::uint64_t Restart();

  /// StartUp, a first write that brings a formatted image to both areas, and empty journal and records.
  void StartFormatted();

  [[nodiscard]] Bytes Device() const;
  void SetDevice(const Bytes& bytes) const;

  /// The two areas as they are on the flash.
  [[nodiscard]] Bytes Main() const;
  [[nodiscard]] Bytes Spare() const;
  void SetAreas(const Bytes& main, const Bytes& spare) const;

  /// The image in memory.
  static Bytes Image();

  /// Lets `change` work on the image in memory, then puts it stamped into both areas and starts again.
  void StartChanged(const std::function<void(Bytes&)>& change);

  static std::uint64_t Write(const std::string& name, const Bytes& bytes, unsigned long offset = 0);
  /// Reads `length` bytes; empty when the read fails.
  static Bytes Read(const std::string& name, unsigned long length, unsigned long offset = 0);

 private:
  std::filesystem::path directory_;
  std::string path_;
};

#endif
