#ifndef FWVET_TOOLS_FWPACK_DEVICE_SEAMS_H
#define FWVET_TOOLS_FWPACK_DEVICE_SEAMS_H

#include <filesystem>
#include <string_view>

// The two things that the device's code finds at fixed places, given to it by the host: the flash file and
// the compiled-in root certificate. Linking this room replaces FlashDevicePath and JoinRootCert; the device's
// path is not even compiled in, so that nothing on the host's own /nvram is ever touched.
namespace fwpack {

/// The file that the device's code takes for its flash from now on. Before the first call there is none:
/// every access fails.
void UseFlashFile(const std::filesystem::path& file);

/// The root certificate that the device's code trusts from now on: exactly the kRootCertSize bytes that
/// CheckRootCertificate gives as the padded form. Throws Error for another length. Before the first call the
/// root is all zeros, which nothing verifies against.
void UseRoot(std::string_view padded_pem);

}  // namespace fwpack

#endif
