#ifndef FWVET_TOOLS_FWPACK_VIEW_DEVICE_DECODER_H
#define FWVET_TOOLS_FWPACK_VIEW_DEVICE_DECODER_H

#include <optional>
#include <string>
#include <string_view>

#include "tools/fwpack/utc_time.h"
#include "verify/lumo.h"

// What the device's own decoders make of octets.
namespace fwpack {

/// The codes of the device's decoders of a certificate, a CRL and a CMS message, DER.
LUMO_ERROR_CODE DeviceCertCode(std::string_view der);
LUMO_ERROR_CODE DeviceCrlCode(std::string_view der);
LUMO_ERROR_CODE DeviceMessageCode(std::string_view der);

/// The code of the device when it loads a whole bundle, DER or PEM: LUMO_ERR_CRL_DECODE for one of which it
/// takes no CRL, LUMO_ERR_LIST_FULL when it has room for a part of it only.
LUMO_ERROR_CODE DeviceBundleCode(std::string_view bytes);

/// A Name (DER) as the device's comparison of bundles knows it; none when the device has no text for it.
std::optional<std::string> DeviceNameText(std::string_view der);

/// The seconds that the device takes the characters of a time for; none when it cannot convert them.
std::optional<UtcTime> DeviceTime(std::string_view characters, bool generalized);

/// Base64 text as the device decodes it; none when it does not.
std::optional<std::string> DeviceBase64(std::string_view text);

/// "0x88300006 LUMO_ERR_...: what it means".
std::string DeviceCodeText(LUMO_ERROR_CODE code);

}  // namespace fwpack

#endif
