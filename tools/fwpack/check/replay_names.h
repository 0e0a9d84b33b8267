#ifndef FWVET_TOOLS_FWPACK_CHECK_REPLAY_NAMES_H
#define FWVET_TOOLS_FWPACK_CHECK_REPLAY_NAMES_H

#include <string>

#include "verify/asn1/lumo_x509_templ.h"

// What the device has decoded, in words. Printable ASCII all of it.
namespace fwpack {

/// "CN = Signer, O = Maker".
std::string NameText(const LUMO_X509_NAME& name);

/// Lower-case hexadecimal; "none" for a serial number of no octets.
std::string SerialText(const LUMO_ASN_BIGINT& serial);

/// "certificate 'CN = Signer' (serial 02, issued by 'CN = CA')".
std::string CertText(const LUMO_X509_CERT& cert);

/// "CRL of 'CN = CA' (this update 2024-05-01T00:00:00Z)".
std::string CrlText(const LUMO_X509_CRL& crl);

/// Seconds since 1970 as "2024-05-01T00:00:00Z".
std::string SecondsText(TEV_TIME_T seconds);

/// The time as the device reads it, "2024-05-01T00:00:00Z"; "no time" when it cannot.
std::string DeviceTimeText(const LUMO_ASN_OCTS& time);

}  // namespace fwpack

#endif
