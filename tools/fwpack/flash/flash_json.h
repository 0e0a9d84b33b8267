#ifndef FWVET_TOOLS_FWPACK_FLASH_FLASH_JSON_H
#define FWVET_TOOLS_FWPACK_FLASH_FLASH_JSON_H

#include <string>

#include "tools/fwpack/flash/flash_image.h"

namespace fwpack {

/// All of a view as one JSON document with the schema "fwpack-flash", ended by a line feed; what is not
/// printable ASCII in a name is escaped as in texts. docs/flash-format.md describes it.
std::string FlashJson(const FlashView& view);

/// The document that stands for an image that cannot be looked into.
std::string FlashErrorJson(const std::string& message);

}  // namespace fwpack

#endif
