#ifndef FWVET_TOOLS_FWPACK_FLASH_FLASH_TEXT_H
#define FWVET_TOOLS_FWPACK_FLASH_FLASH_TEXT_H

#include <string>

#include "tools/fwpack/flash/flash_image.h"

// Flash images as text for people. Names from an image are shown with everything but printable ASCII escaped.
namespace fwpack {

/// The files that a device would have after its start-up, one a line: name, size, what it means.
std::string FlashListText(const FlashView& view);

/// Heads and descriptors of both areas, field by field.
std::string FlashShowText(const FlashView& view);

/// Whether each area is good, and what a device's start-up would do: one line each.
std::string FlashVerifyText(const FlashView& view);

/// What a device's start-up would do, in one phrase: "rewrite the spare area from the main one".
std::string StartUpText(const FlashView& view);

}  // namespace fwpack

#endif
