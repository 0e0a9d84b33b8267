#ifndef FWVET_TOOLS_FWPACK_FLASH_KNOWN_RECORDS_H
#define FWVET_TOOLS_FWPACK_FLASH_KNOWN_RECORDS_H

#include <string>
#include <string_view>

namespace fwpack {

/// What a file of this name and content means to the device, in one line; empty for a file that is none of
/// its own, or too short to be its record.
std::string MeaningOf(const std::string& name, std::string_view content);

/// The device CRL record that "-backup" writes for this bundle, as the bytes of its file. Throws Error for an
/// empty bundle and for one that does not fit, which the device would record without its bytes.
std::string DeviceCrlRecord(const std::string& bundle);

}  // namespace fwpack

#endif
